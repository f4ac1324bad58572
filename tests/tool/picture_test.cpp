// The tool makes the right picture: of a chart that is known, through every kind of file.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>

#include "tests/tool/run.h"
#include "tool/cli/text.h"

namespace trv::test {
namespace {

// The place of a pixel's own colour in (red, green, blue), for a phase by its letters.
unsigned own_colour(const std::string& phase, uint32_t x, uint32_t y) {
    return static_cast<unsigned>(std::string("RGB").find(phase[y % 2 * 2 + x % 2]));
}

// Whatever the method, a pixel keeps the colour that its sample had.
int largest_difference(const Picture& picture, const Picture& truth, const std::string& phase) {
    int largest = 0;
    for (uint32_t y = 0; y < truth.height; ++y)
        for (uint32_t x = 0; x < truth.width; ++x) {
            const unsigned own = own_colour(phase, x, y);
            largest = std::max(largest, std::abs(picture.at(x, y, own) - truth.at(x, y, own)));
        }
    return largest;
}

double mean(const Picture& picture, unsigned channel) {
    double sum = 0;
    for (size_t i = channel; i < picture.samples.size(); i += 3) sum += picture.samples[i];
    return sum * 3 / static_cast<double>(picture.samples.size());
}

void expect_done(const Result& result) {
    EXPECT_EQ(result.exit, 0) << result.err;
}

TEST(Picture, OfAChartIsTheChart) {
    for (const std::string format : {"BAY8", "BAY10", "BAY12", "BAY14", "BAY16", "BAY12_C"})
        for (const std::string phase : {"RGGB", "GRBG", "GBRG", "BGGR"}) {
            SCOPED_TRACE(tool::text(format, " ", phase));
            const Folder folder;
            const std::string common = tool::text(" -s 53x38 -f ", format, " --phase ", phase);
            expect_done(folder.trvil("sample" + common + " --tint 1,1,1 -o a.raw --true t.png"));
            expect_done(folder.trvil("convert" + common + " a.raw -o a.png"));
            const Picture picture = folder.read_png("a.png"), truth = folder.read_png("t.png");
            ASSERT_EQ(picture.samples.size(), 3u * 53 * 38);
            EXPECT_LE(largest_difference(picture, truth, phase), format == "BAY8" ? 0 : 1);
            expect_done(folder.trvil("convert -m gradient" + common + " a.raw -o b.png"));
            EXPECT_LE(largest_difference(folder.read_png("b.png"), truth, phase),
                      format == "BAY8" ? 0 : 1);
        }
}

TEST(Picture, PhaseComesFromTheFormatsLetter) {
    const Folder folder;
    expect_done(folder.trvil("sample -s 40x30 -f BAY8 --phase GBRG -o a.raw"));
    expect_done(folder.trvil("convert -s 40x30 -f BAY8_C a.raw -o letter.ppm"));
    expect_done(folder.trvil("convert -s 40x30 -f BAY8 --phase c a.raw -o said.ppm"));
    expect_done(folder.trvil("convert -s 40x30 -f BAY8 a.raw -o default.ppm"));
    EXPECT_EQ(folder.read("letter.ppm"), folder.read("said.ppm"));
    EXPECT_NE(folder.read("letter.ppm"), folder.read("default.ppm"));
}

TEST(Picture, IsGreenishUntilBalanced) {
    const Folder folder;
    expect_done(folder.trvil("sample -s 320x240 -f BAY12 -o a.raw --true t.png"));
    const std::string convert = "convert -s 320x240 -f BAY12 a.raw ";
    expect_done(folder.trvil(convert + "-o plain.png"));
    expect_done(folder.trvil(convert + "--wb grey -o grey.png"));
    expect_done(folder.trvil(convert + "--wb 1.818,1,1.429 -o given.png"));
    const Picture plain = folder.read_png("plain.png"), truth = folder.read_png("t.png");
    EXPECT_LT(mean(plain, 0), 0.65 * mean(plain, 1));
    EXPECT_LT(mean(plain, 2), 0.80 * mean(plain, 1));
    EXPECT_LE(largest_difference(folder.read_png("grey.png"), truth, "RGGB"), 4);
    EXPECT_LE(largest_difference(folder.read_png("given.png"), truth, "RGGB"), 2);
}

// A gain of eight on 8-bit levels would leave every eighth level only.
TEST(Picture, IsBalancedAtTheDepthOfItsSamples) {
    const Folder folder;
    expect_done(folder.trvil("sample -s 1024x64 -f BAY12 --tint 0.125,1,1 -o a.raw"));
    expect_done(folder.trvil("convert -s 1024x64 -f BAY12 --wb 8,1,1 a.raw -o a.png"));
    const Picture picture = folder.read_png("a.png");
    std::set<uint16_t> levels;
    for (uint32_t x = 0; x < picture.width; ++x) levels.insert(picture.at(x, 58, 0));
    EXPECT_GT(levels.size(), 200u);
}

TEST(Picture, StretchedReachesFullRange) {
    const Folder folder;
    expect_done(folder.trvil("sample -s 64x48 -f BAY10 --tint 1,1,1 -o a.raw --true t.png"));
    const Result dark = folder.trvil("convert -s 64x48 -f BAY16 a.raw -o dark.png");
    expect_done(dark);
    EXPECT_NE(dark.err.find("is it BAY10?"), std::string::npos) << dark.err;
    const Result bright = folder.trvil("convert -s 64x48 -f BAY16 --scale auto a.raw -o a.png");
    expect_done(bright);
    EXPECT_EQ(bright.err, "");
    const Picture truth = folder.read_png("t.png");
    EXPECT_GT(largest_difference(folder.read_png("dark.png"), truth, "RGGB"), 200);
    EXPECT_LE(largest_difference(folder.read_png("a.png"), truth, "RGGB"), 1);
}

// Where the sensor was saturated nobody knows the colour; it must not become that of the gains.
TEST(Picture, StretchedAndBalancedLeavesSaturatedPixelsWhite) {
    const Folder folder;
    std::string mosaic;
    for (int y = 0; y < 40; y += 2)
        mosaic +=
            y < 20 ? std::string(80, '\xFF') : std::string(40, '\x50') + std::string(40, '\x40');
    folder.write("a.raw", mosaic);
    expect_done(folder.trvil("convert -s 40x40 -f BAY8 --wb 2,1,1.5 --scale auto a.raw -o a.png"));
    const Picture picture = folder.read_png("a.png");
    for (unsigned channel = 0; channel < 3; ++channel)
        EXPECT_EQ(picture.at(10, 10, channel), 255) << channel;
}

TEST(Picture, IsTheSameInEveryKindOfFile) {
    const Folder folder;
    expect_done(folder.trvil("sample -s 33x21 -f BAY10 -o a.raw"));
    for (const std::string kind : {"png", "tif", "ppm", "raw"})
        expect_done(folder.shell("trvil convert -s 33x21 -f BAY10 a.raw -o out." + kind));
    constexpr size_t bytes = 33 * 21 * 3;
    std::string rgb, bgr = folder.read("out.raw");
    for (const uint16_t sample : folder.read_png("out.png").samples)
        rgb += static_cast<char>(sample);
    ASSERT_EQ(bgr.size(), bytes);
    for (size_t i = 0; i < bytes; i += 3) std::swap(bgr[i], bgr[i + 2]);
    EXPECT_EQ(bgr, rgb);
    EXPECT_EQ(folder.read("out.ppm"), "P6\n33 21\n255\n" + rgb);
    const std::string tiff = folder.read("out.tif");
    EXPECT_EQ(tiff.substr(0, 4), std::string("MM\0*", 4));
    EXPECT_EQ(tiff.substr(tiff.size() - bytes), rgb);
}

TEST(Picture, OfGreyKeepsItsDepth) {
    const Folder folder;
    folder.write("a.raw", {"\x01\x02\x03\x04\x05\xC6", 6});
    const std::string convert = "convert -s 3x1 -f Mono16 a.raw -o a.";
    for (const std::string kind : {"png", "pgm", "tif"}) expect_done(folder.trvil(convert + kind));
    const Picture picture = folder.read_png("a.png");
    EXPECT_EQ(picture.channels, 1u);
    EXPECT_EQ(picture.samples, (std::vector<uint16_t>{0x0201, 0x0403, 0xC605}));
    const std::string pgm = folder.read("a.pgm"), tiff = folder.read("a.tif");
    EXPECT_EQ(pgm, "P5\n3 1\n65535\n\x02\x01\x04\x03\xC6\x05");
    EXPECT_EQ(tiff.substr(tiff.size() - 6), "\x02\x01\x04\x03\xC6\x05");
}

// The pad byte of 4-byte pixels and the order of their colours are not the picture's.
TEST(Picture, OfColourDumpsNeedsNoConversion) {
    const Folder folder;
    folder.write("a.raw", "abcXdefX");
    expect_done(folder.trvil("convert -s 2x1 -f BGRX32 a.raw -o a.ppm"));
    expect_done(folder.trvil("convert -s 2x1 -f RGBX32 a.raw -o b.ppm"));
    EXPECT_EQ(folder.read("a.ppm"), "P6\n2 1\n255\ncbafed");
    EXPECT_EQ(folder.read("b.ppm"), "P6\n2 1\n255\nabcdef");
}

TEST(Dump, MayHaveAHeaderAndPaddedLines) {
    const Folder folder;
    expect_done(folder.trvil("sample -s 10x4 -f BAY8 -o a.raw"));
    const std::string tight = folder.read("a.raw");
    std::string padded = "header";
    for (size_t y = 0; y < 4; ++y) padded += tight.substr(y * 10, 10) + (y < 3 ? "pad" : "");
    folder.write("padded.raw", padded);
    expect_done(folder.trvil("convert -s 10x4 -f BAY8 a.raw -o a.ppm"));
    const std::string how = "convert -s 10x4 -f BAY8 --stride 13 --skip 6 ";
    expect_done(folder.trvil(how + "padded.raw -o file.ppm"));
    expect_done(folder.shell("cat padded.raw | trvil " + how + "- -o pipe.ppm"));
    EXPECT_EQ(folder.read("file.ppm"), folder.read("a.ppm"));
    EXPECT_EQ(folder.read("pipe.ppm"), folder.read("a.ppm"));
    const Result grey =
        folder.trvil("convert -s 10x4 -f Mono8 --stride 13 --skip 6 padded.raw -o b.raw");
    EXPECT_EQ(folder.read("b.raw"), tight);
    EXPECT_NE(grey.err.find("10x4 Mono8 in lines of 10 bytes"), std::string::npos) << grey.err;
}

TEST(Dump, OfARealSensorLooksRight) {
    const std::string dump = TRVIL_DATA "/chart-1920x1080-rggb10.raw";
    if (!std::filesystem::exists(dump)) GTEST_SKIP() << dump << " is not there";
    const Folder folder;
    const std::string convert = "convert -s 1920x1080 -f BAY10 " + dump;
    const Result plain_run = folder.trvil(convert + " -o plain.png");
    expect_done(plain_run);
    EXPECT_EQ(plain_run.err, "");
    expect_done(folder.trvil(convert + " --wb grey -o grey.png"));
    const Picture plain = folder.read_png("plain.png"), grey = folder.read_png("grey.png");
    // White paper.
    const auto colour = [](const Picture& p, unsigned channel) { return p.at(725, 725, channel); };
    EXPECT_GT(colour(plain, 1), colour(plain, 0) + 60);
    EXPECT_GT(colour(plain, 1), colour(plain, 2) + 15);
    EXPECT_NEAR(colour(grey, 1), colour(grey, 0), 20);
    EXPECT_NEAR(colour(grey, 1), colour(grey, 2), 20);
    EXPECT_NEAR(mean(grey, 0), mean(grey, 1), 3);
    EXPECT_NEAR(mean(grey, 2), mean(grey, 1), 3);
}

}  // namespace
}  // namespace trv::test
