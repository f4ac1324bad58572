// Paths over several steps, and the names by which formats and phases go.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <random>

#include "tests/tool/run.h"
#include "tool/cli/text.h"
#include "trvil/raw.h"

namespace trv::test {
namespace {

using Json = nlohmann::json;
using tool::text;

std::string noise(size_t bytes) {
    std::mt19937 random(7);
    std::string result(bytes, ' ');
    for (char& byte : result) byte = static_cast<char>(random());
    return result;
}

// Width 13 is no whole group of any packed format.
constexpr const char* size = " -s 13x7 ";

class Chain : public testing::Test {
  protected:
    Chain() { folder.write("a.raw", noise(13 * 7 * 8)); }

    std::string convert(const std::string& words, const std::string& input) {
        const Result result = folder.trvil(
            text("convert --frames 0", size, words, " ", input, " -o out.raw --force"));
        EXPECT_EQ(result.exit, 0) << words << "\n" << result.err;
        said = result.err;
        return folder.read("out.raw");
    }

    Folder folder;
    std::string said;
};

// A pixel of 0xABC is light grey; its low 8 bits would be another grey.
TEST_F(Chain, GivesPackedGreyItsTopBits) {
    folder.write("two.raw", "\xBC\x3A\x12");
    EXPECT_EQ(folder.trvil("convert -s 2x1 -f Mono12P two.raw -o two.png").exit, 0);
    EXPECT_EQ(folder.read_png("two.png").samples, (std::vector<uint16_t>{0xAB, 0x12}));
}

// Gains want the samples whole, and odd widths a sample behind each line; else both steps are one.
TEST_F(Chain, TakesPackedMosaicsForTheirSamples) {
    ASSERT_EQ(folder.trvil("sample -s 40x30 -f BAY12 --tint 0.1,1,1 -o m.raw").exit, 0);
    const std::string words = folder.read("m.raw");
    std::string packed;
    for (size_t i = 0; i + 3 < words.size(); i += 4) {
        const auto at = [&](size_t k) { return static_cast<uint8_t>(words[i + k]); };
        packed += static_cast<char>(at(0));
        packed += static_cast<char>(at(1) | at(2) << 4);
        packed += static_cast<char>(at(2) >> 4 | at(3) << 4);
    }
    folder.write("p.raw", packed);
    for (const char* how : {"-s 40x30 --wb 10,1,1", "-s 40x30 -m ave", "-s 40x30 -m med --phase C",
                            "-s 40x30 -m gradient", "-s 38x30 --threads 2 -m dup", "-s 39x30"}) {
        SCOPED_TRACE(how);
        const std::string words_to = text(how, " --force -f BAY12 --stride 80 m.raw -o m.ppm");
        const std::string packed_to = text(how, " --force -f BAY12P_A --stride 60 p.raw -o p.ppm");
        EXPECT_EQ(folder.trvil("convert " + words_to).exit, 0);
        EXPECT_EQ(folder.trvil("convert " + packed_to).exit, 0);
        EXPECT_EQ(folder.read("p.ppm"), folder.read("m.ppm"));
    }
}

TEST_F(Chain, MayBeForbidden) {
    const Result result =
        folder.trvil(text("convert --via never -f Mono12P -t Mono8", size, "a.raw -o b.raw"));
    EXPECT_EQ(result.exit, 3);
    EXPECT_NE(result.err.find("Mono12P > Mono12 > Mono8"), std::string::npos) << result.err;
    // Noise is no picture: it is not made by itself.
    EXPECT_EQ(folder.trvil(text("convert --via never -f Mono12P", size, "a.raw -o b.png")).exit, 3);
    const std::string low = convert("--via never -f Mono12P -t BGRX32", "a.raw");
    EXPECT_NE(said.find("low 8 bits"), std::string::npos) << said;
    EXPECT_EQ(low[0], folder.read("a.raw")[0]);
}

// With an odd width the demosaic looks at a sample after each line, where a dump has the next
// line.
TEST_F(Chain, KeepsTheNextLineOutOfTheLastColumn) {
    std::string mosaic;
    for (int y = 0; y < 6; ++y) mosaic += std::string("\xC8", 1) + std::string(8, '\x20');
    folder.write("m.raw", mosaic);
    for (const std::string method : {"dup", "ave", "med"}) {
        ASSERT_EQ(folder.trvil("convert -s 9x6 -f BAY8 m.raw -o m.png --force -m " + method).exit,
                  0);
        const Picture picture = folder.read_png("m.png");
        for (uint32_t y = 0; y < 6; ++y)
            for (unsigned channel = 0; channel < 3; ++channel)
                EXPECT_EQ(picture.at(8, y, channel), 0x20) << method << ' ' << y << ' ' << channel;
    }
}

using Names = Chain;

// One light pixel and one dark one, of 0xABC and 0x123.
TEST_F(Names, OfPackedPixelsUnpackThem) {
    const std::vector<std::pair<const char*, std::string>> dumps = {
        {"Mono12Packed", "\xAB\x3C\x12"},    {"Y12P", "\xAB\x12\x3C"},
        {"pfnc:0x010C0006", "\xAB\x3C\x12"}, {"12PACKED", "\xAB\x3C\x12"},
        {"12be", {"\x0A\xBC\x01\x23", 4}},   {"Y012", {"\xC0\xAB\x30\x12", 4}}};
    for (const auto& [name, bytes] : dumps) {
        SCOPED_TRACE(name);
        folder.write("two.raw", bytes + bytes);
        const Result result = folder.trvil(
            text("convert -s 2x2 -f ", name, " two.raw -o two.raw16 --as raw -t Mono12 --force"));
        EXPECT_EQ(result.exit, 0) << result.err;
        EXPECT_NE(result.err.find("unpacking Mono12 from "), std::string::npos) << result.err;
        EXPECT_EQ(folder.read("two.raw16"), "\xBC\x0A\x23\x01\xBC\x0A\x23\x01");
    }
    // Padded lines, the last one without its padding, and a mosaic by its name.
    folder.write("pad.raw", "\xAB\x3C\x12--\xAB\x3C\x12");
    const Result padded = folder.trvil(
        "convert -s 2x2 --stride 5 -f BayerGR12Packed pad.raw -o pad.raw16 --as raw -t BAY12_B");
    EXPECT_EQ(padded.exit, 0) << padded.err;
    EXPECT_EQ(folder.read("pad.raw16"), "\xBC\x0A\x23\x01\xBC\x0A\x23\x01");
    EXPECT_NE(folder.trvil("info -s 2x2 --stride 5 -f BayerGR12Packed pad.raw")
                  .out.find("BAY12_B from 12Packed in lines of 5 bytes: 8 bytes, which is all"),
              std::string::npos);
    EXPECT_EQ(folder.trvil("convert -s 2x3 -f Y12P two.raw -o x.png").exit, 4);
}

// In one pass on several threads as by two calls one after the other.
TEST_F(Names, OfPackingsAreFormatsOfTheirOwn) {
    folder.write("n.raw", noise(640 * 480 * 2));
    const Json listed = Json::parse(folder.trvil("formats --json").out)["packings"];
    ASSERT_EQ(listed.size(), TRW_PACKING_END - 1);
    for (const Json& packing : listed) {
        const std::string name = packing["name"], to = packing["unpacked_to"].back();
        const std::string phase = to == "YUV422" ? " " : " --phase GBRG ";
        // The widths end with a group and inside one.
        for (const char* shape : {" -s 600x400 ", " -s 37x31 "}) {
            const Result result = folder.shell(text(
                "read() { trvil convert --frames 0", shape, "--force \"$@\" 2>/dev/null; }\n",
                "read -f ", name, phase, "-t ", to, " --threads 1 n.raw -o words.raw &&\n",
                "read -f ", to, phase, "--threads 1 words.raw -o two.ppm &&\n",
                "read --threads 3 -f ", name, phase, "n.raw -o one.ppm && cmp one.ppm two.ppm"));
            EXPECT_EQ(result.exit, 0) << name << shape << result.out << result.err;
        }
    }
}

// Whatever the list shows is understood, and means the format of its row.
TEST_F(Names, AreAllListedAndUnderstood) {
    const Result wrong = folder.shell(
        "{ trvil formats --names | sed '1d;/^$/,$d'\n"
        "  trvil formats --names | sed '1,/^UNP/d;/^$/,$d' | sed 's/  *[^ ]*  */ /'; } |\n"
        "tr -d , | while read -r ours names; do\n"
        "  trvil routes $ours >ours 2>&1\n"
        "  for name in $names; do\n"
        "    test $name = - || { trvil routes $name 2>&1 | cmp -s - ours; } || echo $ours $name\n"
        "  done\ndone");
    EXPECT_EQ(wrong.out, "");
    EXPECT_EQ(wrong.err, "");
}

}  // namespace
}  // namespace trv::test
