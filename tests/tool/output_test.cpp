// Output appears whole or not at all, whatever happens.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/tool/run.h"
#include "tool/cli/text.h"
#include "trvil/raw.h"

namespace trv::test {
namespace {

using tool::text;
using Names = std::set<std::string>;

class Output : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(folder.trvil("sample -s 400x300 -f BAY8 -o a.raw").exit, 0); }
    Folder folder;
};

const std::string convert = "convert -s 400x300 -f BAY8 ";

TEST_F(Output, FitsIntoAPipe) {
    for (const std::string kind :
         {"png", "tif", "ppm", "raw", "png --depth 16", "tif --depth 16", "dng"}) {
        SCOPED_TRACE(kind);
        ASSERT_EQ(folder.trvil(text(convert, "a.raw --force -o file.", kind)).exit, 0);
        const Result piped = folder.trvil(text(convert, "- -o - --as ", kind, " <a.raw"));
        EXPECT_EQ(piped.exit, 0) << piped.err;
        EXPECT_EQ(piped.out, folder.read("file." + kind.substr(0, 3)));
    }
}

TEST_F(Output, ReplacesOnlyByForce) {
    folder.write("a.png", "precious");
    EXPECT_EQ(folder.trvil(convert + "a.raw -o a.png").exit, 5);
    EXPECT_EQ(folder.read("a.png"), "precious");
    EXPECT_EQ(folder.shell("chmod 600 a.png; trvil " + convert + "a.raw -o a.png --force").exit, 0);
    EXPECT_EQ(folder.read_png("a.png").width, 400u);
    EXPECT_EQ(folder.shell("stat -c %a a.png").out, "600\n");
    EXPECT_EQ(folder.names(), (Names{"a.raw", "a.png"}));
}

TEST_F(Output, ThroughALinkReplacesWhatItPointsTo) {
    const Result result =
        folder.shell("mkdir sub; echo old >sub/b.png; ln -s sub/b.png link.png; trvil " + convert +
                     "a.raw -o link.png --force; test -L link.png && wc -c <sub/b.png");
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_GT(std::atoi(result.out.c_str()), 1000);
}

TEST_F(Output, ThatHasNoPlaceIsRefusedInItsOwnWords) {
    EXPECT_EQ(folder.shell("ln -s nowhere stale.png; ln -s b.png a.png; ln -s a.png b.png").exit,
              0);
    const std::string name(300, 'n');
    for (const std::string& place : {name + ".png", name + "/x.png", std::string("a.png/x.png"),
                                     std::string("a.png"), std::string("stale.png")}) {
        const Result result = folder.trvil(convert + "a.raw -o " + place);
        EXPECT_EQ(result.exit, 5) << place << result.err;
        EXPECT_NE(result.err.find("next:"), std::string::npos) << result.err;
    }
    EXPECT_EQ(folder.names(), (Names{"a.raw", "a.png", "b.png", "stale.png"}));
}

TEST_F(Output, NamedAfterItsInput) {
    EXPECT_EQ(folder.shell("mkdir in out; cp a.raw in/b.x.raw").exit, 0);
    EXPECT_EQ(folder.trvil(convert + "a.raw in/b.x.raw -o 'out/{name}-{name}.png'").exit, 0);
    EXPECT_EQ(folder.shell("ls out").out, "a-a.png\nb.x-b.x.png\n");
    const Result same = folder.trvil(convert + "a.raw in/../a.raw -o 'out/{name}.png'");
    EXPECT_EQ(same.exit, 2);
    EXPECT_NE(same.err.find("two inputs"), std::string::npos) << same.err;
}

TEST_F(Output, OnAFullDiskLeavesWhatWasThere) {
    for (const std::string kind :
         {"png", "tif", "ppm", "raw", "png --depth 16", "tif --depth 16", "dng"}) {
        SCOPED_TRACE(kind);
        const std::string old = "old." + kind.substr(0, 3);
        folder.write(old, "precious");
        const std::string words = text(convert, "a.raw --force -o old.", kind);
        // A file-size limit fails writes in the middle, as a full disk does.
        const Result result = folder.shell("ulimit -f 8; trvil " + words);
        EXPECT_EQ(result.exit, 5) << result.err;
        EXPECT_NE(result.err.find(old), std::string::npos) << result.err;
        EXPECT_EQ(folder.read(old), "precious");
    }
    EXPECT_EQ(folder.names(),
              (Names{"a.raw", "old.dng", "old.png", "old.tif", "old.ppm", "old.raw"}));
    for (const std::string kind :
         {"png", "tif", "ppm", "raw", "png --depth 16", "tif --depth 16", "dng"})
        EXPECT_EQ(folder.trvil(text(convert, "a.raw -o - --as ", kind, " >/dev/full")).exit, 5);
}

TEST_F(Output, OfCalibrationAppearsWholeOrNotAtAll) {
    const std::string calibrate =
        "mkdir -p found; trvil calibrate -s 400x300 -f BAY8 --dark-frames a.raw a.raw -o found";
    EXPECT_EQ(folder.shell("ulimit -f 8; " + calibrate).exit, 5);
    EXPECT_EQ(folder.shell("ls -A found").out, "");
    EXPECT_EQ(folder.shell(calibrate).exit, 0);
    EXPECT_EQ(folder.shell("ls -A found").out, "dark.tif\ndefects.txt\nsettings.json\n");
}

TEST_F(Output, OfAClosedPipeIsAnError) {
    const Result result =
        folder.shell("(trvil " + convert + "a.raw -o - --as ppm; echo $? >code) | true; cat code");
    EXPECT_EQ(result.out, "5\n");
}

TEST_F(Output, OfAClosedOrFullStdoutIsAnError) {
    EXPECT_EQ(folder.trvil(convert + "a.raw -o - --as ppm >&-").exit, 5);
    for (const std::string words : {"formats", "routes", "--help"})
        for (const std::string where : {" >&-", " >/dev/full"})
            EXPECT_EQ(folder.trvil(words + where).exit, 5) << words << where;
    EXPECT_EQ(folder.trvil(convert + "- -o a.ppm <&-").exit, 4);
    // What the tool says must not end up in the picture that took the place of stderr.
    ASSERT_EQ(folder.trvil(convert + "a.raw -o a.tif").exit, 0);
    ASSERT_EQ(folder.trvil("sample -s 400x300 -f BAY8 -o b.raw <&- >&- 2>&-").exit, 0);
    EXPECT_EQ(folder.read("b.raw"), folder.read("a.raw"));
}

}  // namespace
}  // namespace trv::test
