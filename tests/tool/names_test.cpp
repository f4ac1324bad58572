// File names: what they may hold, and that different ones may be the same file.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/tool/run.h"
#include "tool/cli/text.h"

namespace trv::test {
namespace {

using Lines = std::vector<std::string>;

class SameFile : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(folder.trvil("sample -s 64x48 -f BAY8 -o x.raw").exit, 0);
        ASSERT_EQ(folder
                      .shell("ln x.raw hard; ln -s x.raw soft; mkdir sub; ln -s . sub/here; "
                             "cp x.raw y.raw; ln -s sub link; cp x.raw t.png; ln t.png u.png")
                      .exit,
                  0);
    }
    Folder folder;
};

TEST_F(SameFile, IsRefusedBeforeAnythingIsWritten) {
    const std::set<std::string> before = folder.names();
    const std::string dump = folder.read("x.raw");
    const std::string convert = "trvil convert --force --as raw -s 64x48 -f BAY8 ";
    const std::string field = "trvil frame --force --as raw -s 64x24 -f Mono8 --field odd ";
    const std::string sample = "trvil sample --force -s 64x48 -f BAY8 ";
    for (const std::string& line : Lines{
             convert + "- -o x.raw <x.raw",
             convert + "/dev/stdin -o x.raw <x.raw",
             convert + "- -o hard <soft",
             convert + "y.raw - -o {name}.raw <hard",
             convert + "soft -o sub/../hard",
             convert + "- -o - <x.raw 1<>x.raw",
             convert + "x.raw -o - >>hard",
             convert + "x.raw y.raw -o y.raw",
             convert + "sub/../y.raw -o y.raw",
             field + "- -o x.raw <x.raw",
             field + "hard -o soft",
             "trvil phase -s 64x48 -f BAY8 t.png -o u.png --force",
             "trvil phase -s 64x48 -f BAY8 - -o t.png --force <u.png",
             "trvil info -s 64x48 -f BAY8 t.png --histogram u.png --force",
             "trvil info -s 64x48 -f BAY8 x.raw >>x.raw",
             "trvil guess t.png -o u.png --force",
             sample + "-o t.png --true t.png",
             sample + "-o t.png --true u.png",
             sample + "-o new.png --true sub/../new.png",
             sample + "-o sub/new.png --true link/here/new.png",
             sample + "-o - --true t.png >>u.png",
         }) {
        SCOPED_TRACE(line);
        const Result result = folder.shell(line);
        EXPECT_EQ(result.exit, 2) << result.err;
        const bool said = result.err.find("is an input") != std::string::npos ||
                          result.err.find("are the same file") != std::string::npos ||
                          result.err.find("two inputs") != std::string::npos;
        EXPECT_TRUE(said) << result.err;
        for (const char* name : {"x.raw", "y.raw", "t.png"}) EXPECT_EQ(folder.read(name), dump);
    }
    EXPECT_EQ(folder.names(), before);
    EXPECT_EQ(folder.shell("ls sub").out, "here\n");
}

TEST_F(SameFile, IsNotWhatOnlyLooksAlike) {
    EXPECT_EQ(folder.trvil("convert -s 64x48 -f BAY8 - -o a.png <x.raw >log").exit, 0);
    EXPECT_EQ(folder.trvil("convert -s 64x48 -f BAY8 x.raw -o sub/x.raw").exit, 0);
    EXPECT_EQ(folder.trvil("sample -s 64x48 -o - --true b.png </dev/null >b.raw").exit, 0);
    EXPECT_EQ(
        folder.trvil("convert -s 1x1 -f Mono8 --frames 0 /dev/zero -o - --as raw >/dev/null").exit,
        0);
}

// Clears the screen, colours, ends the line, one byte of UTF-8 too few, and the eight-bit CSI.
const std::string steering[] = {"a\033[2J\033[31m.raw",
                                "b\n\rtrvil: fine.raw",
                                "c\xC3.raw",
                                "d\xC2\x9B"
                                "31m.raw",
                                "e\x7F\a\b.raw",
                                "f\xE2\x80\xAE.raw"};

bool is_plain(const std::string& said) {
    for (const char* sign : {"\033", "\r", "\x7F", "\a", "\b", "\xC3.", "\xC2\x9B", "\xE2\x80\xAE"})
        if (said.find(sign) != std::string::npos) return false;
    return true;
}

TEST(FileNames, DoNotSteerATerminal) {
    const Folder folder;
    ASSERT_EQ(folder.trvil("sample -s 64x48 -f BAY8 -o dump").exit, 0);
    for (const std::string& name : steering) {
        folder.write(name, folder.read("dump"));
        const std::string word = tool::shell_word(name);
        EXPECT_TRUE(is_plain(word));
        for (const std::string& line :
             {"convert -s 64x49 -f BAY8 " + word + " -o a.png",
              "convert -s 60x48 -f BAY8 --force " + word + " -o a.png", "info " + word,
              "info -s 64x48 -f BAY8 " + word, "guess " + word, "help " + word, word,
              "formats " + word, "convert -s 64x48 -f " + word + " dump -o " + word,
              "guess --json " + word, "sample -s 64x48 --force -o " + word,
              "info --json -s 64x48 -f BAY8 " + word}) {
            SCOPED_TRACE(line);
            folder.write(name, folder.read("dump"));
            const Result result =
                folder.shell("exec bash -c " + tool::shell_word("\"" TRVIL_TOOL "\" " + line));
            EXPECT_FALSE(result.out.empty() && result.err.empty());
            EXPECT_TRUE(is_plain(result.out)) << result.out;
            EXPECT_TRUE(is_plain(result.err)) << result.err;
            EXPECT_EQ(result.err.find("\ntrvil: fine"), std::string::npos) << result.err;
            if (line.find("--json") != std::string::npos) {
                EXPECT_TRUE(nlohmann::json::accept(result.out)) << result.out;
            }
        }
    }
}

// On a terminal there is a progress line too.
TEST(FileNames, DoNotSteerATerminalThatWatches) {
    const Folder folder;
    const std::string name = "a\a\033]0;title\a.raw";
    ASSERT_EQ(folder.trvil("sample -s 64x48 -f BAY8 -o b.raw").exit, 0);
    folder.write(name, folder.read("b.raw"));
    folder.write("run", "\"" TRVIL_TOOL "\" convert -s 64x48 -f BAY8 *.raw -o '{name}.png'\n");
    const Result result = folder.shell("script -qec 'sh run' /dev/null");
    EXPECT_NE(result.out.find("[1/2] a\\007\\033]0;title\\007.raw"), std::string::npos)
        << result.out;
    EXPECT_EQ(result.out.find("]0;title\a"), std::string::npos);
}

TEST(FileNames, InCommandsAreWhatAShellTakes) {
    const Folder folder;
    for (const std::string& name : steering) {
        folder.write(name, name);
        const Result result =
            folder.shell("exec bash -c " + tool::shell_word("cat " + tool::shell_word(name)));
        EXPECT_EQ(result.out, name) << result.err;
    }
    EXPECT_EQ(tool::printable("\xF0\x9F\x93\xB7 \xC3\xA9 \\ 'x'"),
              "\xF0\x9F\x93\xB7 \xC3\xA9 \\ 'x'");
    EXPECT_EQ(tool::printable("\xC0\xAF\xED\xA0\x80\xF4\x90\x80\x80"),
              "\\300\\257\\355\\240\\200\\364\\220\\200\\200");
}

}  // namespace
}  // namespace trv::test
