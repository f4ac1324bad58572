// Frames from fields are what the library makes, and phases are told.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/tool/run.h"
#include "tool/cli/text.h"
#include "trvil/buffer.hpp"
#include "trvil/til.h"

namespace trv::test {
namespace {

using tool::text;

struct Method {
    const char* name;
    uint32_t value;
};
constexpr Method methods[] = {{"dup", TIL_FIELD_LINE_DUP},
                              {"ave", TIL_FIELD_LINE_AVE},
                              {"bilinear", TIL_FIELD_BILINEAR},
                              {"median", TIL_FIELD_MEDIAN}};

struct Layout {
    const char* name;
    uint32_t format;
    uint32_t bytes;
};
constexpr Layout layouts[] = {{"Mono8", TBL_FORMAT(Mono8), 1},
                              {"BGR24", TBL_FORMAT(BGR24), 3},
                              {"YUV422", TBL_FORMAT(YUV422), 2},
                              {"RGBX32", TBL_FORMAT(RGBX32), 4}};

constexpr uint32_t width = 38, height = 9;

std::string noise(size_t bytes) {
    std::string result;
    for (size_t i = 0; i < bytes; ++i) result += static_cast<char>(i * i * 31 >> 3);
    return result;
}

std::string library_frame(std::string field, const Layout& layout, uint32_t method, uint32_t flag) {
    std::string frame(field.size() * 2, '\0');
    using trvil::Buffer;
    const trvil::Format format{layout.format};
    const Buffer from = Buffer::wrap(std::span(field), width, height, format);
    const Buffer to = Buffer::wrap(std::span(frame), width, height * 2, format);
    EXPECT_EQ(TIL_FieldToFrame(from.handle(), to.handle(), method, flag), TRV_STATUS_OK);
    return frame;
}

TEST(Frame, IsTheLibrarys) {
    const Folder folder;
    for (const Layout& layout : layouts)
        for (const Method& method : methods)
            for (const bool odd : {true, false}) {
                SCOPED_TRACE(text(layout.name, " ", method.name, odd ? " odd" : " even"));
                const std::string field = noise(size_t{width} * height * layout.bytes);
                folder.write("f.raw", field);
                const Result result = folder.trvil(
                    text("frame -s 38x9 -f ", layout.name, " --field ", odd ? "odd" : "even",
                         " --interpolate ", method.name, " f.raw -o o.raw --force"));
                EXPECT_EQ(result.exit, 0) << result.err;
                EXPECT_EQ(folder.read("o.raw"),
                          library_frame(field, layout, method.value, odd ? 0 : 1));
                const bool warned = result.err.find("distorted") != std::string::npos;
                EXPECT_EQ(warned, layout.bytes == 4 && method.value == TIL_FIELD_MEDIAN);
            }
}

TEST(Frame, HasTheFieldsLinesInTheirPlaces) {
    const Folder folder;
    folder.write("f.raw", "hAB-CD-EF-");
    const std::string words = "frame -s 2x3 -f Mono8 --stride 3 --skip 1 --interpolate dup f.raw ";
    EXPECT_EQ(folder.trvil(words + "--field odd -o odd.pgm").exit, 0);
    EXPECT_EQ(folder.trvil(words + "--field even -o even.pgm").exit, 0);
    EXPECT_EQ(folder.read("odd.pgm"), "P5\n2 6\n255\nABABABCDCDEF");
    EXPECT_EQ(folder.read("even.pgm"), "P5\n2 6\n255\nABABCDCDEFEF");
}

TEST(Frame, IsRefusedWithAReason) {
    const Folder folder;
    folder.write("f.raw", noise(512));
    const auto refused = [&](const std::string& words, int exit, const std::string& expected) {
        const Result result = folder.trvil("frame -s 8x8 f.raw " + words);
        EXPECT_EQ(result.exit, exit) << words;
        EXPECT_NE(result.err.find(expected), std::string::npos) << words << "\n" << result.err;
    };
    refused("-f Mono16 --field odd --interpolate median -o a.raw", 3, "it exists for Mono8");
    refused("-f BAY8 --field odd -o a.raw", 2, "mosaic");
    refused("-f Mono8 --field top -o a.raw", 2, "odd or --field even");
    refused("-f Mono8 --field odd --interpolate best -o a.raw", 2, "bilinear");
    refused("-f Mono8 --field odd -o f.raw --force", 2, "is an input");
    refused("-f BGRX32 --skip 300 --field odd -o a.raw", 4, "too short");
    EXPECT_EQ(folder.names(), std::set<std::string>{"f.raw"});
}

// The two that have green on the same diagonal.
std::string pair_of(const std::string& phase) {
    return phase == "RGGB" || phase == "BGGR" ? "RGGB or BGGR" : "GRBG or GBRG";
}

TEST(PhaseCommand, NamesTheRightPair) {
    const Folder folder;
    for (const std::string format : {"BAY8", "BAY12"})
        for (const std::string tint : {"0.55,1,0.7", "1,1,1"})
            for (const std::string phase : {"RGGB", "GRBG", "GBRG", "BGGR"}) {
                const std::string common = text(" -s 101x77 -f ", format);
                folder.trvil(text("sample", common, " --phase ", phase, " --tint ", tint,
                                  " -o m.raw --force"));
                const Result result = folder.trvil("phase" + common + " m.raw");
                EXPECT_EQ(result.exit, 0) << result.err;
                EXPECT_EQ(result.out.find(pair_of(phase)), 0u) << phase << ": " << result.out;
            }
}

TEST(PhaseCommand, OfARealSensor) {
    const std::string dump = TRVIL_DATA "/chart-1920x1080-rggb10.raw";
    if (!std::filesystem::exists(dump)) GTEST_SKIP() << dump << " is not there";
    const Folder folder;
    const Result result = folder.trvil("phase -s 1920x1080 -f BAY10 " + dump + " -o sheet.png");
    EXPECT_EQ(result.out.find("RGGB or BGGR"), 0u) << result.out << result.err;
    EXPECT_EQ(folder.read_png("sheet.png").width, 1316u);
}

TEST(PhaseCommand, PutsTheFourOnASheet) {
    const Folder folder;
    folder.trvil("sample -s 240x40 -f BAY8 --phase GBRG --tint 1,1,1 -o m.raw");
    EXPECT_EQ(folder.trvil("phase -s 240x40 -f BAY8 m.raw -o sheet.png").exit, 0);
    const Picture sheet = folder.read_png("sheet.png");
    // The second of the eight bars is yellow; where red and blue are exchanged, cyan. Those two
    // have a green frame around them.
    const auto colour = [&](uint32_t x, uint32_t y) {
        return std::vector<int>{sheet.at(x, y, 0) / 128, sheet.at(x, y, 1) / 128,
                                sheet.at(x, y, 2) / 128};
    };
    constexpr uint32_t margin = 12, label = 33, step_x = 252, step_y = 85;
    const uint32_t bar_x = margin + 45, bar_y = margin + label + 4;
    EXPECT_EQ(colour(bar_x, bar_y + step_y), (std::vector<int>{1, 1, 0}));
    EXPECT_EQ(colour(bar_x + step_x, bar_y), (std::vector<int>{0, 1, 1}));
    const uint32_t frame_x = margin - 2, frame_y = margin + label + 10;
    EXPECT_EQ(colour(frame_x, frame_y + step_y), (std::vector<int>{0, 1, 0}));
    EXPECT_EQ(colour(frame_x + step_x, frame_y), (std::vector<int>{0, 1, 0}));
    EXPECT_EQ(colour(frame_x, frame_y), (std::vector<int>{0, 0, 0}));
}

TEST(PhaseCommand, SaysWhenItCannotTell) {
    const Folder folder;
    folder.write("m.raw", std::string(64, 'x'));
    EXPECT_EQ(folder.trvil("phase -s 8x8 -f BAY8 m.raw").out.find("cannot tell"), 0u);
    EXPECT_EQ(folder.trvil("phase -s 8x8 -f Mono8 m.raw").exit, 2);
    EXPECT_EQ(folder.trvil("phase -s 8x8 -f BAY8 m.raw -o a.tif").exit, 2);
    EXPECT_EQ(folder.trvil("phase -s 8x8 -f BAY8 m.raw -o m.raw").exit, 2);
    folder.write("p.raw", std::string(48, 'x'));
    EXPECT_EQ(folder.trvil("phase -s 8x4 -f BAY12P_B p.raw -o a.png").exit, 0);
}

}  // namespace
}  // namespace trv::test
