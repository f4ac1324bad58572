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

// Every reason that developing has to refuse; nothing is written, the settings neither.
TEST_F(Refused, Developing) {
    folder.write("short.raw", "xyz");
    folder.write("far.txt", "# two\n3 4\n64 0\n");
    folder.write("odd.txt", "3 4 5\n");
    folder.write("eight.txt", "1 0 0 0 1 0 0 0");
    folder.write("key.json", "{\"blak\": 3, \"wb\": \"grey\", \"dork\": \"a\"}");
    folder.write("type.json", "{\"black\": {\"r\": 3}}");
    folder.write("none.json", "{\"black\": 3");
    folder.write("gone.json", "{\"dark\": \"gone.tif\"}");
    ASSERT_EQ(folder.trvil("convert -s 32x96 -f Mono8 a.raw -o narrow.png").exit, 0);
    ASSERT_EQ(folder.trvil("convert -s 64x48 -f Mono8 a.raw -o bytes.png").exit, 0);
    ASSERT_EQ(folder.trvil("convert -s 32x48 -f Mono16 a.raw -o deep.png").exit, 0);
    const std::string common = "convert -s 64x48 -f BAY8 a.raw -o b.png --save-settings s.json ";
    const std::string words = "convert -s 32x48 -f BAY10 a.raw -o b.png ";
    const std::vector<std::pair<std::string, Refusal>> refusals = {
        {common, {"--black 1,2", 2, {"\"1,2\"", "four"}}},
        {common, {"--black 300", 2, {"black", "white"}}},
        {common, {"--black 5 --white 5", 2, {"white"}}},
        {common, {"--white 256", 2, {"white"}}},
        {common, {"--white 0", 2, {"from 1"}}},
        {common, {"--dark short.raw", 4, {"short.raw is too short"}}},
        {common, {"--flat narrow.png", 4, {"32x96", "64x48"}}},
        {common, {"--flat gone.tif", 4, {"gone.tif", "No such file"}}},
        {words, {"--dark deep.png", 4, {"30840", "1023"}}},
        {words, {"--flat bytes.png", 4, {"64x48"}}},
        {common, {"--defects far.txt", 4, {"line 3", "64 0", "outside"}}},
        {common, {"--defects odd.txt", 4, {"line 1", "no x and y"}}},
        {common, {"--defects narrow.png", 4, {"32x96"}}},
        {common, {"--ccm 1,0,0,0,1,0,0,0", 2, {"nine numbers", "has 8"}}},
        {common, {"--ccm eight.txt", 2, {"nine numbers"}}},
        {common, {"--ccm 1,2,3,2,4,6,0,0,1", 2, {"singular"}}},
        {common, {"--ccm 9,0,0,0,1,0,0,0,1", 2, {"row"}}},
        {common, {"--curve rec709", 2, {"srgb", "gamma:"}}},
        {common, {"--curve gamma:0", 2, {"0.1 to 10"}}},
        {common, {"--wb point:64,0 --curve srgb", 2, {"64,0 lies outside"}}},
        {common, {"--wb point:-1,0", 2, {"two numbers"}}},
        {common, {"--settings key.json", 2, {"\"blak\", \"dork\"", "black, dark"}}},
        {common, {"--settings type.json", 2, {"\"black\"", "neither text nor numbers"}}},
        {common, {"--settings none.json", 2, {"no JSON"}}},
        {common, {"--settings gone.json", 4, {"gone.tif"}}},
        {"convert -s 64x48 -f BAY8 a.raw --force -o bytes.png ",
         {"--dark bytes.png", 2, {"is an input"}}},
        {common, {"--depth 12", 2, {"--depth"}}},
        {"convert -s 64x24 -f RGB16 a.raw -o b.png ", {"--black 3", 2, {"neither"}}},
        {"convert -s 64x24 -f RGB16 a.raw -o b.png ", {"--depth 16", 2, {"RGB48"}}},
        {"convert -s 64x48 -f BAY8 a.raw -o b.pgm ", {"--depth 16", 2, {"grey"}}},
        {"convert -s 64x48 -f Mono8 a.raw -o b.ppm ", {"--depth 16", 3, {"Mono16", ".png"}}},
        {"convert -s 64x48 -f Mono8 a.raw -o b.png ", {"--ccm 1,0,0,0,1,0,0,0,1", 2, {"grey"}}},
        {"convert -s 64x48 -f Mono8 a.raw -o b.dng", {"", 3, {"a DNG holds a mosaic"}}},
        {"convert -s 64x48 -f BAY8 a.raw -o b.dng ", {"--depth 16", 2, {"as they are"}}}};
    for (const auto& [command, refusal] : refusals) {
        const std::string line = command + refusal.words;
        expect_refusals(folder, {{line.c_str(), refusal.exit, refusal.texts}});
    }
}

TEST_F(Refused, Calibrating) {
    folder.write("b.raw", std::string(64 * 48, 'y'));
    folder.write("long.raw", std::string(64 * 48 + 1, 'y'));
    folder.write("white.raw", std::string(64 * 48, '\xFF'));
    ASSERT_EQ(folder.shell("mkdir found; touch found/flat.tif").exit, 0);
    expect_refusals(
        folder,
        {{"calibrate -s 64x48 -f BAY8 -o .", 2, {"--dark-frames", "--chart"}},
         {"calibrate -s 64x48 -f BAY8 -o . --dark-frames a.raw", 2, {"too few dark frames: 1"}},
         {"calibrate -s 64x48 -f BAY8 -o . --dark-frames a.raw long.raw", 4, {"3073", "3072"}},
         {"calibrate -s 64x50 -f BAY8 -o . --flat-frames a.raw b.raw", 4, {"too short"}},
         {"calibrate -s 64x48 -f BAY8 -o . --flat-frames a.raw white.raw white.raw white.raw "
          "--white 200",
          1,
          {"overexposed", "200"}},
         {"calibrate -s 64x48 -f BAY8 -o nowhere --dark-frames a.raw b.raw", 5, {"no folder"}},
         {"calibrate -s 64x48 -f BAY8 -o found --flat-frames a.raw b.raw", 5, {"exists already"}},
         {"calibrate -s 64x48 -f BAY8 -o . --dark-frames a.raw b.raw --white 256", 2, {"white"}},
         {"calibrate -s 64x48 -f BAY8 -o . --chart a.raw", 2, {"--corners"}},
         {"calibrate -s 64x48 -f BAY8 -o . --chart a.raw --corners 1,1,9,1,9", 2, {"eight"}},
         {"calibrate -s 64x48 -f BAY8 -o . --chart a.raw --corners 0,0,64,0,63,47,0,47",
          2,
          {"64,0 lies outside"}},
         {"calibrate -s 64x48 -f BAY8 -o . --chart a.raw --corners 0,0,63,47,63,0,0,47",
          2,
          {"go around"}},
         {"calibrate -s 64x48 -f BAY8 -o . --dark-frames a.raw b.raw --chart b.raw --corners "
          "0,0,63,0,63,47,0,47",
          1,
          {"does not get darker"}},
         {"calibrate -s 64x24 -f RGB16 -o . --dark-frames a.raw b.raw", 2, {"neither"}}});
    EXPECT_EQ(folder.shell("ls found").out, "flat.tif\n");
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
