// What the tool says and how it exits when it cannot do what was asked, and that nothing is left.
#include <gtest/gtest.h>

#include "tests/tool/run.h"

namespace trv::test {
namespace {

struct Refusal {
    const char* words;
    int exit;
    std::vector<const char*> texts;
};

void expect_refusals(const Folder& folder, const std::vector<Refusal>& refusals) {
    const std::set<std::string> before = folder.names();
    for (const Refusal& refusal : refusals) {
        SCOPED_TRACE(refusal.words);
        const Result result = folder.trvil(refusal.words);
        EXPECT_EQ(result.exit, refusal.exit);
        for (const char* text : refusal.texts)
            EXPECT_NE(result.err.find(text), std::string::npos) << text << "\nin\n" << result.err;
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(folder.names(), before);
    }
}

class Refused : public testing::Test {
  protected:
    Refused() { folder.write("a.raw", std::string(64 * 48, 'x')); }
    Folder folder;
};

TEST_F(Refused, Usage) {
    expect_refusals(
        folder,
        {{"", 2, {"subcommand"}},
         {"convrt", 2, {"unknown command", "convert"}},
         {"convert a.raw -o a.png", 2, {"--size"}},
         {"convert -s 64 -f BAY8 a.raw -o a.png", 2, {"\"64\"", "WIDTHxHEIGHT"}},
         {"convert -s 64x-1 -f BAY8 a.raw -o a.png", 2, {"64x-1"}},
         {"convert -s 64x48 -f BAY9 a.raw -o a.png", 2, {"BAY8", "trvil formats"}},
         {"convert -s 64x48 -f BAY8 --phase RGB a.raw -o a.png", 2, {"RGGB"}},
         {"convert -s 64x48 -f BAY8 -m best a.raw -o a.png", 2, {"dup"}},
         {"convert -s 64x48 -f Mono8 --phase A a.raw -o a.png", 2, {"not a mosaic"}},
         {"convert -s 64x48 -f Mono8 --wb grey a.raw -o a.png", 2, {"it is grey"}},
         {"convert -s 64x32 -f Mono12MP --wb grey a.raw -o a.png", 2, {"it is grey"}},
         {"convert -s 64x32 -f Mono12MP -t RGB16 --scale auto a.raw -o b.raw", 2, {"RGB16", "-t"}},
         {"convert -s 64x48 -f BAY8 --wb 1,0,1 a.raw -o a.png", 2, {"1,0,1", "grey"}},
         {"convert -s 64x48 -f BAY8 --wb 1,1,1,1 a.raw -o a.png", 2, {"1,1,1,1"}},
         {"convert -s 64x48 -f BAY8 --stride 60 a.raw -o a.png", 2, {"has 64 bytes"}},
         {"convert -s 20x20 -f BAY10 --stride 41 a.raw -o a.png", 2, {"even"}},
         {"convert -s 1x48 -f BAY8 a.raw -o a.png", 2, {"2x2"}},
         {"convert -s 64x48 -f BAY8 --threads -1 a.raw -o a.png", 2, {"--threads", "1024"}},
         {"convert -s 64x48 -f BAY8 --threads 4294967296 a.raw -o a.png", 2, {"--threads"}},
         {"convert -s 64x48 -f BAY8 a.raw -o a.jpg", 2, {"--as"}},
         {"convert -s 64x48 -f BAY8 a.raw -o -", 2, {"--as"}},
         {"convert -s 64x48 -f BAY8 a.raw -t RGB16 -o a.png", 2, {"cannot hold RGB16", "BGR24"}},
         {"convert -s 64x48 -f BAY8 a.raw a.raw -o a.png", 2, {"{name}"}},
         {"convert -s 64x48 -f Mono8 a.raw -o ./a.raw --force", 2, {"is an input"}},
         {"convert -s 64x48 -f BAY8 --phase BayerBG a.raw -o a.png", 2, {"opencv:BayerBG is RGGB"}},
         {"convert -s 64x48 -f Mono8 -t Mono12Packed a.raw -o a.png", 2, {"use Mono12"}},
         {"convert -s 64x48 -f RGB10p32 a.raw -o a.png", 2, {"12 of green"}},
         {"sample -s 64x48 -f Mono8 -o b.raw", 2, {"BAY8", "BAY16"}},
         {"routes RGB51", 2, {"unknown format"}},
         {"sample -s 64x48 -f BAY8 --tint 2,1,1 -o b.raw", 2, {"overflow"}}});
}

TEST_F(Refused, NoWayBetweenFormats) {
    expect_refusals(
        folder, {{"convert -s 64x48 -f BAY8 -t Mono8 a.raw -o a.png",
                  3,
                  {"no way from BAY8 to Mono8", "RGB16", "BGR24", "-t"}},
                 {"convert -s 64x48 -f BAY8 a.raw -o a.pgm", 3, {".png"}},
                 {"routes RGB15 BGR24", 3, {"no way"}},
                 // Only one method and phase of this layout exists.
                 {"convert -s 64x48 -f BAY8 --phase B -m dup -t BGR16 --via never a.raw -o b.raw",
                  3,
                  {"dup does not exist", "GRBG", "no method does"}},
                 {"convert -s 64x48 -f BAY8 -m med -t BGR16 --via never a.raw -o b.raw",
                  3,
                  {"what exists there is dup"}}});
}

TEST_F(Refused, MissingOrShortInput) {
    expect_refusals(
        folder,
        {{"convert -s 64x48 -f BAY8 nothing.raw -o a.png", 4, {"nothing.raw", "No such file"}},
         {"convert -s 64x48 -f BAY8 . -o a.png", 4, {"is a folder"}},
         {"convert -s 64x48 -f BAY10 a.raw -o a.png",
          4,
          {"needs 6144 bytes", "has 3072", "this length fits BAY8", "-s 64x24"}},
         {"convert -s 64x32 -f BAY10 a.raw -o a.png", 4, {"this length fits", "12Packed"}},
         {"convert -s 64x33 -f RAW12 a.raw -o a.png", 4, {"needs 3168", "-s 64x32"}},
         {"convert -s 64x48 -f BAY8 --skip 9 a.raw -o a.png", 4, {"has 3063", "--skip 0"}},
         {"convert -s 64x48 -f BAY8 --skip 18446744073709551615 a.raw -o a.png", 4, {"has 0"}},
         {"convert -s 64x48 -f BAY8 --stride 100 a.raw -o a.png", 4, {"without --stride"}},
         {"convert -s 64x48 -f BAY8 - -o a.png </dev/null", 4, {"stdin", "has 0"}}});
}

TEST_F(Refused, OutputThatCannotBe) {
    folder.write("old.png", "precious");
    expect_refusals(
        folder, {{"convert -s 64x48 -f BAY8 a.raw -o old.png", 5, {"exists already", "--force"}},
                 {"convert -s 64x48 -f BAY8 a.raw -o no/a.png", 5, {"no folder no"}},
                 {"convert -s 64x48 -f BAY8 a.raw --as png -o /dev/null --force", 5, {"-o -"}},
                 {"sample -s 64x48 -o a.raw", 5, {"exists already"}}});
    EXPECT_EQ(folder.read("old.png"), "precious");
}

TEST_F(Refused, NotButNoted) {
    const Result surplus = folder.trvil("convert -s 60x48 -f BAY8 a.raw -o a.png");
    EXPECT_EQ(surplus.exit, 0);
    EXPECT_NE(surplus.err.find("192 bytes"), std::string::npos) << surplus.err;
    EXPECT_NE(surplus.err.find("--stride 64"), std::string::npos) << surplus.err;
    const Result deep = folder.trvil("convert -s 32x48 -f BAY10 a.raw -o b.png");
    EXPECT_EQ(deep.exit, 0);
    EXPECT_NE(deep.err.find("exceed the 10 bits"), std::string::npos) << deep.err;
    EXPECT_NE(deep.err.find("is it BAY16?"), std::string::npos) << deep.err;
    const Result colour = folder.trvil("convert -s 16x32 -f RGB48_10 a.raw -o c.png");
    EXPECT_NE(colour.err.find("is it RGB48?"), std::string::npos) << colour.err;
}

}  // namespace
}  // namespace trv::test
