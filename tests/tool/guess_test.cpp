// Dumps of which everything is known are guessed, and what cannot be told is said to be so.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <nlohmann/json.hpp>

#include "raw/packing.h"
#include "tests/tool/run.h"
#include "tool/cli/text.h"

namespace trv::test {
namespace {

using tool::text;
using Json = nlohmann::json;
using Samples = std::vector<uint32_t>;

constexpr uint32_t width = 320, height = 240;

// Lines of samples one after the other, the first in the lowest or in the highest bits.
std::string pack(const Samples& samples, uint32_t per_line, uint32_t bits, bool high_first) {
    std::string bytes;
    for (size_t first = 0; first < samples.size(); first += per_line) {
        std::string line((per_line * bits + 7) / 8, '\0');
        for (uint32_t i = 0; i < per_line * bits; ++i) {
            const uint32_t bit = high_first ? bits - 1 - i % bits : i % bits;
            if ((samples[first + i / bits] >> bit & 1) == 0) continue;
            line[i / 8] = static_cast<char>(line[i / 8] | 1 << (high_first ? 7 - i % 8 : i % 8));
        }
        bytes += line;
    }
    return bytes;
}

class Guess : public testing::Test {
  protected:
    void SetUp() override {
        const Result result =
            folder.trvil(text("sample -s ", width, "x", height, " -f BAY8 -o m.raw --true t.ppm"));
        ASSERT_EQ(result.exit, 0) << result.err;
        const std::string picture = folder.read("t.ppm");
        rgb = picture.substr(picture.size() - size_t{width} * height * 3);
    }

    uint32_t level(size_t pixel, size_t channel) const {
        return static_cast<uint8_t>(rgb[pixel * 3 + channel]);
    }

    // With a little noise below the 8 bits of the scene, as sensors have it.
    uint32_t deepened(uint32_t value, uint32_t bits) {
        seed = seed * 1103515245 + 12345;
        return bits == 8 ? value : (value << (bits - 8)) + (seed >> 16) % (1u << (bits - 8));
    }

    Samples grey(uint32_t bits) {
        Samples samples;
        for (size_t i = 0; i < size_t{width} * height; ++i)
            samples.push_back(
                deepened((level(i, 0) * 3 + level(i, 1) * 6 + level(i, 2)) / 10, bits));
        return samples;
    }

    // `colours` are those of the first two pixels of two lines, as indices into red, green, blue.
    Samples mosaic(const std::array<size_t, 4>& colours, uint32_t bits) {
        Samples samples;
        for (size_t i = 0; i < size_t{width} * height; ++i) {
            const size_t colour = colours[i / width % 2 * 2 + i % 2];
            samples.push_back(deepened(level(i, colour) * (colour == 1 ? 10 : 6) / 10, bits));
        }
        return samples;
    }

    Samples colours() const {
        Samples samples;
        for (size_t i = 0; i < size_t{width} * height; ++i)
            for (size_t channel = 3; channel-- > 0;) samples.push_back(level(i, channel));
        return samples;
    }

    Samples yuv() const {
        Samples samples;
        for (size_t i = 0; i < size_t{width} * height; ++i) {
            const uint32_t y = (level(i, 0) * 3 + level(i, 1) * 6 + level(i, 2)) / 10;
            samples.push_back(y);
            samples.push_back((level(i, i % 2 == 0 ? 2 : 0) + 255 - y) / 2);
        }
        return samples;
    }

    Json proposals(const std::string& bytes) const {
        folder.write("d.raw", bytes);
        const Result result = folder.trvil("guess --json d.raw");
        EXPECT_EQ(result.exit, 0) << result.err;
        return result.exit == 0 ? Json::parse(result.out)["proposals"] : Json::array();
    }

    // Red and blue cannot be told apart, so that one of the first two has to be right.
    void expect(const std::string& bytes, const Json& wanted) const {
        const Json found = proposals(bytes);
        for (size_t i = 0; i < 2 && i < found.size(); ++i) {
            Json masked;
            for (const auto& [name, value] : wanted.items()) masked[name] = found[i][name];
            if (masked == wanted) return;
        }
        ADD_FAILURE() << "wanted " << wanted << "\nfound " << found.dump(1);
    }

    static Json is(const std::string& format, bool swapped = false) {
        return {{"format", format},
                {"width", width},
                {"height", height},
                {"skip", 0},
                {"bytes_swapped", swapped}};
    }
    static Json is_mosaic(const std::string& format, const std::string& phase) {
        Json wanted = is(format);
        wanted["phase"] = phase;
        return wanted;
    }

    Folder folder;
    std::string rgb;
    uint32_t seed = 1;
};

constexpr std::array<size_t, 4> rggb = {0, 1, 1, 2}, gbrg = {1, 2, 0, 1};

TEST_F(Guess, FindsGreyOfEveryPacking) {
    expect(pack(grey(8), width, 8, false), is("Mono8"));
    expect(pack(grey(16), width, 16, false), is("Mono16"));
    expect(pack(grey(12), width, 16, false), is("Mono12"));
    Json wanted = is("Mono12");
    wanted["packing"] = "12be";
    expect(pack(grey(12), width, 16, true), wanted);
    expect(pack(grey(10), width, 10, false), is("Mono10P"));
    expect(pack(grey(12), width, 12, true), is("Mono12MP"));
}

// The value of each pixel of a mosaic: the real picture made smaller by whole blocks, its 8 bits
// deepened.
using Sample = std::function<uint32_t(uint32_t x, uint32_t y)>;

// Sample k of a group that begins at a pixel. For 4:2:2, green is the luminance.
uint32_t sample_of(const raw::Packing& row, const Sample& sample, uint32_t x, uint32_t y,
                   unsigned k) {
    if (row.target == raw::Target::words) return sample(x + k, y);
    const auto block = [&](uint32_t dx, uint32_t dy) {
        return static_cast<int>(sample((x & ~1u) + dx, (y & ~1u) + dy));
    };
    const int green = block(1, 0);
    if (k % 2 == 0) return static_cast<uint32_t>(green);
    return static_cast<uint32_t>(128 + (block(k == 1 ? 0 : 1, k == 1 ? 0 : 1) - green) / 4);
}

std::string packed(const raw::Packing& row, uint32_t w, uint32_t h, const Sample& sample) {
    const size_t line = raw::line_bytes(row, 0, w);
    std::string bytes(line * h, '\0');
    const auto put = [&](uint32_t x, uint32_t y, unsigned k) {
        const uint32_t value = sample_of(row, sample, x, y, k);
        for (unsigned bit = 0; bit < row.bits; ++bit) {
            const raw::Place at = raw::place(row, k, bit);
            if (value >> bit & 1)
                bytes[y * line + x / row.group * row.bytes + at.byte] |=
                    static_cast<char>(1 << at.bit);
        }
    };
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; x += row.group)
            for (unsigned k = 0; k < raw::samples_of(row, std::min<uint32_t>(row.group, w - x));
                 ++k)
                put(x, y, k);
    return bytes;
}

// Those that are one another by another name are told by both names.
bool is_named(const Json& proposal, const std::string& name) {
    const Json& others = proposal["other_names"];
    return proposal["packing"] == name ||
           std::find(others.begin(), others.end(), name) != others.end();
}

TEST_F(Guess, FindsTheRealPictureInEveryPacking) {
    const std::string file = TRVIL_DATA "/chart-1920x1080-rggb10.raw";
    if (folder.shell("test -e " + file).exit != 0) GTEST_SKIP() << "no " << file;
    folder.shell("cp " + file + " real.raw");
    const std::string real = folder.read("real.raw");
    for (const raw::Packing& row : raw::packings)
        for (const uint32_t smaller : {10u, 30u}) {
            const uint32_t w = 1920 / smaller, h = 1080 / smaller;
            const Sample sample = [&](uint32_t x, uint32_t y) {
                const size_t at =
                    (size_t{y / 2 * 2 * smaller + y % 2} * 1920 + x / 2 * 2 * smaller + x % 2) * 2;
                const uint32_t level = static_cast<uint8_t>(real[at]) |
                                       uint32_t{static_cast<uint8_t>(real[at + 1])} << 8;
                return deepened(level >> 2, row.bits);
            };
            const Json found = proposals(packed(row, w, h, sample));
            bool named = false;
            // Which chrominance comes first cannot be told either.
            for (size_t i = 0; i < 2 && i < found.size(); ++i)
                named = named || (is_named(found[i], row.name) && found[i]["width"] == w &&
                                  found[i]["height"] == h && found[i]["skip"] == 0 &&
                                  found[i]["score"] >= 0.98 * found[0]["score"].get<double>());
            EXPECT_TRUE(named) << row.name << ' ' << w << 'x' << h << "\nfound " << found.dump(1);
        }
}

TEST_F(Guess, FindsMosaicsAndTheirGreenDiagonal) {
    expect(pack(mosaic(rggb, 8), width, 8, false), is_mosaic("BAY8", "RGGB"));
    expect(pack(mosaic(gbrg, 12), width, 16, false), is_mosaic("BAY12", "GBRG"));
    expect(pack(mosaic(gbrg, 10), width, 10, false), is_mosaic("BAY10P_C", "GBRG"));
    expect(pack(mosaic(rggb, 12), width, 12, false), is_mosaic("BAY12P_A", "RGGB"));
}

TEST_F(Guess, FindsColours) {
    expect(pack(colours(), width * 3, 8, false), is("BGR24"));
    expect(pack(yuv(), width * 2, 8, false), is("YUV422"));
}

TEST_F(Guess, FindsWhereLinesBeginAndEnd) {
    const std::string header(200, 'h'), lines = pack(mosaic(rggb, 12), width, 16, false);
    Json wanted = is_mosaic("BAY12", "RGGB");
    wanted["trailing"] = 100;
    expect(lines + std::string(100, 't'), wanted);
    wanted["trailing"] = 0;
    wanted["skip"] = 200;
    expect(header + lines, wanted);
    std::string padded;
    for (uint32_t y = 0; y < height; ++y)
        padded += lines.substr(size_t{y} * width * 2, size_t{width} * 2) + std::string(32, '\0');
    wanted["skip"] = 0;
    wanted["stride"] = width * 2 + 32;
    expect(padded, wanted);
}

TEST_F(Guess, FindsTheRealSensorDump) {
    const std::string dump = TRVIL_DATA "/chart-1920x1080-rggb10.raw";
    if (folder.shell("test -e " + dump).exit != 0) GTEST_SKIP() << "no " << dump;
    const Result result = folder.trvil("guess --json --top 2 " + dump + " -o sheet.png");
    const Json found = Json::parse(result.out)["proposals"];
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0]["format"], "BAY10");
    EXPECT_EQ(found[0]["width"], 1920);
    EXPECT_EQ(found[0]["height"], 1080);
    EXPECT_EQ(found[0]["phase"], "RGGB");
    EXPECT_EQ(found[1]["phase"], "BGGR");
    EXPECT_GT(folder.read_png("sheet.png").width, 900u);
}

TEST_F(Guess, SaysWhatToTryAndThatWorks) {
    // Swapped bytes after a header of odd length: the hardest commands.
    folder.write("d e.raw", std::string(99, 'h') + pack(grey(12), width, 16, true));
    const Result result = folder.trvil("guess --json --top 1 'd e.raw'");
    ASSERT_EQ(result.exit, 0) << result.err;
    const Json best = Json::parse(result.out)["proposals"][0];
    for (const std::string line : best["commands"]) {
        const Result run = folder.shell(line);
        EXPECT_EQ(run.exit, 0) << line << '\n' << run.err;
    }
    const Picture picture = folder.read_png("d e.png");
    EXPECT_EQ(picture.width, width);
    EXPECT_EQ(picture.height, height);
}

TEST_F(Guess, SaysWhenNothingStandsOut) {
    std::string noise, zeros(100000, '\0');
    for (size_t i = 0; i < 200000; ++i) noise += static_cast<char>(deepened(0, 24) >> 8);
    folder.write("noise.raw", noise);
    folder.write("zeros.raw", zeros);
    folder.write("short.raw", "x");
    folder.write("p.png", "\x89PNG\r\n and more");
    struct Case {
        const char *name, *words;
        int exit;
    };
    for (const Case& c : {Case{"noise.raw", "neighbours", 1}, Case{"zeros.raw", "equal", 1},
                          Case{"short.raw", "only 1 bytes", 1}, Case{"p.png", "PNG picture", 4}}) {
        const Result result = folder.trvil(text("guess ", c.name, " -o sheet.png"));
        EXPECT_EQ(result.exit, c.exit) << c.name << result.out;
        EXPECT_NE(result.err.find(c.words), std::string::npos) << result.err;
        EXPECT_EQ(result.out, "");
    }
    EXPECT_EQ(folder.names().count("sheet.png"), 0u);
}

}  // namespace
}  // namespace trv::test
