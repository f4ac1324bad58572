// Inputs that never end, or claim to be larger than any machine, cost little time and memory.
#include <gtest/gtest.h>
#include <zlib.h>

#include "tests/tool/run.h"
#include "tool/cli/text.h"

namespace trv::test {
namespace {

using tool::text;

constexpr double soon = 20;  // seconds; for ever is what would fail
// KiB; what a guess looks at is a quarter of it. Sanitizers keep what was freed.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr uint64_t little = 1 << 20;
#else
constexpr uint64_t little = 256 << 10;
#endif

class Bounded : public testing::Test {
  protected:
    void expect(const std::string& line, int exit, const std::string& words) {
        SCOPED_TRACE(line);
        const Result result = folder.shell(line);
        EXPECT_EQ(result.exit, exit) << result.err;
        EXPECT_NE(result.err.find(words), std::string::npos) << result.err;
        EXPECT_LT(result.seconds, soon);
        EXPECT_LT(result.peak, little);
    }
    Folder folder;
};

std::string big_endian(uint32_t value) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift);
    return bytes;
}

std::string chunk(const std::string& name, const std::string& data) {
    const std::string body = name + data;
    const uLong sum =
        crc32(0, reinterpret_cast<const Bytef*>(body.data()), static_cast<uInt>(body.size()));
    return big_endian(static_cast<uint32_t>(data.size())) + body +
           big_endian(static_cast<uint32_t>(sum));
}

// A grey PNG that is whole but for its pixels.
std::string png_of(uint32_t width, uint32_t height, char interlaced = 0) {
    const std::string head =
        big_endian(width) + big_endian(height) + std::string{8, 0, 0, 0, interlaced};
    return "\x89PNG\r\n\x1A\n" + chunk("IHDR", head) +
           chunk("IDAT", std::string("\x78\x9C\x63\x00\x00\x00\x01\x00\x01", 9)) +
           chunk("IEND", "");
}

TEST_F(Bounded, EndlessInputs) {
    ASSERT_EQ(folder.shell("truncate -s 100G holes.raw").exit, 0);
    for (const std::string input : {"/dev/zero", "/dev/urandom", "holes.raw"}) {
        expect("trvil info " + input, 2, "cannot tell");
        expect("trvil convert -s 640x480 -f BAY8 -o a.png --force " + input, 0, "ignored");
    }
    for (const std::string source : {"yes", "cat /dev/zero"}) {
        expect(source + " | trvil info -", 2, "cannot tell");
        expect(source + " | trvil guess -", 4, "does not end within 128 MiB");
        expect(source + " | trvil convert -s 640x480 -f BAY8 - -o a.png --force", 0, "ignored");
    }
    expect("trvil guess /dev/zero", 4, "does not end");
    expect("trvil guess holes.raw", 1, "all of its bytes are equal");
    // A sender that stays silent after the picture does not hold the picture up.
    expect(
        "mkfifo pipe; (head -c 307200 /dev/zero; exec sleep 30) >pipe & trvil convert "
        "-s 640x480 -f BAY8 pipe -o b.png; code=$?; kill $!; exit $code",
        0, "dark");
}

TEST_F(Bounded, ClaimsOfHugePictures) {
    folder.write("million.png", png_of(1000000, 1000000));
    folder.write("more.png", png_of(60000, 60000));
    folder.write("passes.png", png_of(60000, 60000, 1));
    folder.write("million.pgm", "P5 1000000 1000000 255\n");
    folder.write("more.ppm", "P6 20000 20000 65535\n");
    expect("trvil info million.png", 4, "1000000000000 bytes");
    expect("trvil info - <million.png", 4, "1000000000000 bytes");
    expect("cat million.png | trvil info -", 4, "1000000000000 bytes");
    expect("trvil info million.pgm", 4, "1000000000000 bytes");
    expect("trvil info more.ppm", 4, "too short");
    for (const std::string picture : {"more.png", "passes.png"}) {
        expect("trvil info " + picture, 4, "too short");
        expect("cat " + picture + " | trvil info -", 4, "cannot read the picture");
    }
    // Memory is asked for only after the length was looked at, and never more than there is.
    for (const std::string command : {"convert -o a.png", "info", "phase"})
        expect("trvil " + command + " -s 1000000x1000000 -f BAY8 million.png", 4, "too short");
    expect("truncate -s 2T vast; trvil info -s 1000000x1000000 -f BAY8 vast", 1, "1000000000000");
    expect("trvil info -s 1000000x1000000 -f BAY8 /dev/zero", 1, "1000000000000 bytes");
}

}  // namespace
}  // namespace trv::test
