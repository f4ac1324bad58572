// Recordings: every frame comes out as it does alone, and what is missing is told.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/tool/run.h"
#include "tool/cli/text.h"

namespace trv::test {
namespace {

using tool::text;

constexpr size_t frame_bytes = 96 * 62 * 2 - 4;  // of lines that are 192 bytes apart, 188 in use
constexpr size_t frame_room = 96 * 62 * 2;
const std::string reading = "-s 94x62 -f BAY12 --phase GBRG --stride 192 ";

std::string noise(size_t bytes, unsigned seed) {
    std::mt19937 random(seed);
    std::string result;
    for (size_t i = 0; i < bytes; ++i)
        result += static_cast<char>(random() & (i % 2 == 0 ? 0xFF : 0x07));
    return result;
}

std::string six(size_t number) {
    const std::string digits = std::to_string(number);
    return std::string(6 - digits.size(), '0') + digits;
}

// Two files of a recording of nine frames, with 5 bytes before each file and 3 before each frame.
class Streams : public testing::Test {
  protected:
    void SetUp() override {
        std::string file = "skip.";
        for (unsigned i = 0; i < frames; ++i) {
            const std::string frame = noise(i == frames - 1 ? frame_bytes : frame_room, i);
            folder.write(text(i, ".raw"), frame);
            file += "|||" + frame;
            if (i == 3) {
                folder.write("a.rec", file);
                file = "skip.";
            }
        }
        folder.write("b.rec", file);
    }

    Result convert(const std::string& words) const {
        return folder.trvil("convert " + reading + words);
    }
    Result stream(const std::string& words, const std::string& inputs = "a.rec b.rec ") const {
        return convert("--skip 5 --frame-skip 3 " + inputs + words);
    }
    std::string alone(size_t index, const std::string& words) const {
        const Result result = convert(text(index, ".raw -o - ", words));
        EXPECT_EQ(result.exit, 0) << result.err;
        return result.out;
    }
    std::string pixels_alone(size_t index, const std::string& words = "") const {
        return alone(index, "--as ppm " + words).substr(sizeof "P6\n94 62\n255");
    }

    static constexpr unsigned frames = 9;
    Folder folder;
};

TEST_F(Streams, FramesInFilesOfTheirOwn) {
    for (const std::string kind : {"png", "tif", "dng", "raw"}) {
        const Result result = stream("--frames 1:8:3 -o '{n}." + kind + "'");
        ASSERT_EQ(result.exit, 0) << result.err;
        for (const size_t index : {1u, 4u, 7u})
            EXPECT_EQ(folder.read(six(index) + "." + kind), alone(index, "--as " + kind)) << kind;
    }
    EXPECT_EQ(folder.shell("ls *.png").out, "000001.png\n000004.png\n000007.png\n");
    EXPECT_EQ(stream("-o '{name}-{n}.ppm'").exit, 0);
    EXPECT_EQ(folder.read("b-000002.ppm"), alone(6, "--as ppm"));
    // Where a file does not tell its length, frames before the wanted ones are read over.
    EXPECT_EQ(folder
                  .shell("cat a.rec | trvil convert " + reading +
                         "--skip 5 --frame-skip 3 --frames 3 - -o 'p{n}.ppm'")
                  .exit,
              0);
    EXPECT_EQ(folder.read("p000003.ppm"), alone(3, "--as ppm"));
    EXPECT_EQ(stream("--frames 2 -o two.ppm", "a.rec ").exit, 0);
    EXPECT_EQ(folder.read("two.ppm"), alone(2, "--as ppm"));
}

TEST_F(Streams, FramesOneAfterTheOther) {
    for (const std::string words :
         {"", "--wb 1.5,1,1.2 ", "-m gradient --curve srgb --black 9 ", "-m med --curve srgb "}) {
        std::string wanted;
        for (size_t i = 0; i < frames; ++i) wanted += pixels_alone(i, words);
        for (const std::string jobs : {"--jobs 1", "--jobs 7", "--threads 1", "--threads 5"}) {
            const Result result = stream("-o - --as rgb24 " + words + jobs);
            EXPECT_EQ(result.exit, 0) << result.err;
            EXPECT_TRUE(result.out == wanted) << words << jobs;
        }
    }
    std::string swapped = stream("-o - --as bgr24").out;
    for (size_t i = 0; i + 2 < swapped.size(); i += 3) std::swap(swapped[i], swapped[i + 2]);
    EXPECT_TRUE(swapped == stream("-o - --as rgb24").out);
    std::string deep = stream("-o - --as rgb48le --frames 5").out;
    for (size_t i = 0; i + 1 < deep.size(); i += 2) std::swap(deep[i], deep[i + 1]);
    EXPECT_TRUE(deep == alone(5, "--as ppm --depth 16").substr(sizeof "P6\n94 62\n65535"));
    // A raw file of many frames is read again as what it is said to be.
    const Result raw = stream("-t BAY12 -o all.raw");
    EXPECT_NE(raw.err.find("9 frames of 94x62 BAY12 in lines of 188 bytes"), std::string::npos)
        << raw.err;
    EXPECT_TRUE(
        folder.trvil("convert -s 94x62 -f BAY12 --phase GBRG all.raw -o - --as rgb24").out ==
        stream("-o - --as rgb24").out);
}

TEST_F(Streams, GreyIsNotTouched) {
    const std::string words = "convert -s 94x62 -f Mono8 --frames :3 a.rec -o - --as ";
    EXPECT_TRUE(folder.trvil(words + "gray").out == folder.read("a.rec").substr(0, 94 * 62 * 3));
    const std::string y4m = folder.trvil(words + "y4m --fps 30000/1001").out;
    EXPECT_EQ(y4m.substr(0, y4m.find('\n')),
              "YUV4MPEG2 W94 H62 F30000:1001 Ip A1:1 Cmono XCOLORRANGE=FULL");
    EXPECT_TRUE(y4m.substr(y4m.size() - 94 * 62) ==
                folder.read("a.rec").substr(94 * 62 * 2, 94 * 62));
    const std::string deep = folder.trvil(words + "gray16le").out;
    EXPECT_EQ(deep[0], folder.read("a.rec")[0]);
    EXPECT_EQ(deep[1], folder.read("a.rec")[0]) << "white is 65535";
}

TEST_F(Streams, WhatBreaksOffIsToldAndLeftOut) {
    const std::string whole = stream("-o - --as rgb24", "a.rec ").out;
    folder.write("short.rec", folder.read("a.rec").substr(0, 5 + 3 * 3 + frame_room * 2 + 1000));
    const size_t two = 94 * 62 * 3 * 2;
    for (const std::string from : {"short.rec ", "- <short.rec "}) {
        const Result result = stream("-o - --as rgb24 " + from, "");
        EXPECT_EQ(result.exit, 4);
        EXPECT_NE(result.err.find("breaks off in frame 2"), std::string::npos) << result.err;
        EXPECT_TRUE(result.out == whole.substr(0, two)) << result.out.size();
    }
    const Result piped = folder.shell("cat short.rec | trvil convert " + reading +
                                      "--skip 5 --frame-skip 3 - -o 'f{n}.png'; ls f*");
    EXPECT_EQ(piped.out, "f000000.png\nf000001.png\n");
    const Result partial = stream("--partial -o - --as rgb24", "short.rec ");
    EXPECT_EQ(partial.exit, 0) << partial.err;
    ASSERT_EQ(partial.out.size(), two / 2 * 3);
    EXPECT_TRUE(partial.out.substr(0, two + 94 * 3 * 4) == whole.substr(0, two + 94 * 3 * 4));
    EXPECT_EQ(partial.out.find_first_not_of('\0', two + 94 * 3 * 7), std::string::npos);
    // A file that breaks off takes none of the others with it.
    const Result others = stream("-o - --as rgb24", "short.rec b.rec ");
    EXPECT_EQ(others.exit, 4);
    EXPECT_EQ(others.out.size(), two / 2 * 7);
    EXPECT_EQ(stream("-o none.y4m", "gone.rec ").exit, 4);
    EXPECT_EQ(stream("-o none.y4m --frames 9:", "a.rec b.rec ").exit, 4);
    EXPECT_EQ(folder.names().count("none.y4m"), 0u);
}

TEST_F(Streams, MeasureTheFirstFrameOnly) {
    for (const std::string words :
         {"--wb grey ", "--scale auto ", "--wb point:40,30 --curve srgb "}) {
        const std::string one = stream("-o - --as rgb24 --frames 0 " + words).out;
        const std::string both = stream("-o - --as rgb24 --frames 0:2 " + words).out;
        ASSERT_EQ(one.size(), size_t{94 * 62 * 3}) << words;
        ASSERT_EQ(both.size(), 2 * one.size()) << words;
        EXPECT_TRUE(both.substr(0, one.size()) == one);
        const std::string gone = stream("-o - --as rgb24 --frames 1 " + words).out;
        EXPECT_FALSE(both.substr(one.size()) == gone) << words;
    }
}

TEST_F(Streams, PagesOfOneFrameAreThePicture) {
    EXPECT_EQ(folder.shell("cat 0.raw | trvil convert " + reading + "- -o one.tif").exit, 0);
    EXPECT_EQ(convert("0.raw -o two.tif").exit, 0);
    EXPECT_TRUE(folder.read("one.tif") == folder.read("two.tif"));
}

TEST_F(Streams, RefusedBeforeAnythingIsWritten) {
    const auto expect = [&](const std::string& words, int exit, const std::string& said) {
        const auto before = folder.names();
        const Result result = folder.shell("trvil convert " + reading + words);
        EXPECT_EQ(result.exit, exit) << words << '\n' << result.err;
        EXPECT_NE(result.err.find(said), std::string::npos) << words << '\n' << result.err;
        EXPECT_EQ(folder.names(), before);
    };
    ASSERT_EQ(folder.shell("cp a.rec 000001.raw; echo old >000003.png").exit, 0);
    expect("--force 000001.raw a.rec -o '{n}.raw'", 2, "is an input");
    expect("a.rec -o '{n}.png'", 5, "000003.png");
    expect("a.rec -o 'x{n}.y4m'", 2, "{n} makes no sense");
    expect("a.rec -o x.y4m --depth 16", 3, "no .y4m");
    expect("a.rec -o x.gray", 3, "no way from BAY12");
    expect("a.rec -o x.y4m --fps 0", 2, "frames a second");
    for (const std::string range : {"5:5", "1:2:0", "-1", "a", "1:2:3:4", "1.5"})
        expect("a.rec -o x.y4m --frames=" + range, 2, "cannot use the frames");
}

TEST_F(Streams, TakeNoMoreMemoryForMoreFrames) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizers keep what is freed";
#endif
    ASSERT_EQ(folder
                  .shell("head -c 12288 /dev/urandom >1; for i in 1 2 3 4 5 6 7 8 9 10; do cat 1; "
                         "done >10; for i in $(seq 1000); do cat 10; done >10000")
                  .exit,
              0);
    for (const std::string output : {"- --as rgb24 >/dev/null", "x.tif --force", "x.y4m --force",
                                     "- --as rgb48le >/dev/null"}) {
        const auto peak = [&](const std::string& file) {
            const Result result =
                folder.trvil("convert -s 96x64 -f BAY12 --threads 4 " + file + " -o " + output);
            EXPECT_EQ(result.exit, 0) << result.err;
            return result.peak;
        };
        const uint64_t few = peak("10"), many = peak("10000");
        // libtiff remembers where each page lies.
        EXPECT_LT(many, few + 3000) << output;
    }
}

TEST_F(Streams, EndQuietlyWithTheirReader) {
    // More than a pipe holds.
    ASSERT_EQ(folder.shell("for i in $(seq 100); do cat 0.raw; done >long.rec").exit, 0);
    const auto expect = [&](const std::string& before, const std::string& from) {
        const Result result = folder.shell(before + "(trvil convert " + reading + from +
                                           " -o - --as rgb24; echo $? >code) | head -c 100 "
                                           ">/dev/null; kill $! 2>/dev/null; cat code");
        EXPECT_EQ(result.out, "141\n") << before << from;
        EXPECT_EQ(result.err, "");
        EXPECT_LT(result.seconds, 10);
    };
    expect("", "long.rec");
    expect("", "- <long.rec");
    // Though the camera goes on, or says nothing more.
    expect("mkfifo camera; (while cat 0.raw; do :; done) >camera & ", "camera");
    expect("mkfifo silent; (cat 0.raw; exec sleep 30) >silent & ", "silent");
    EXPECT_EQ(convert("a.rec -o - --as rgb24 >/dev/full").exit, 5);
}

TEST_F(Streams, TellProgramsHowFarTheyAre) {
    const Result result = stream("-o - --as rgb24 --json >/dev/null");
    EXPECT_NE(result.err.find(R"("frames":9,"of":9)"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find(R"("done":true)"), std::string::npos) << result.err;
}

TEST_F(Streams, FieldsInTurnBecomeFrames) {
    const std::string fields = "frame -s 94x62 -f Mono8 --field even ";
    ASSERT_EQ(folder.trvil(fields + "--both --frames :4 a.rec -o 'b{n}.pgm'").exit, 0);
    ASSERT_EQ(folder.trvil(fields + "a.rec --skip 11656 -o even.pgm").exit, 0);
    ASSERT_EQ(
        folder.trvil("frame -s 94x62 -f Mono8 --field odd a.rec --skip 17484 -o odd.pgm").exit, 0);
    EXPECT_TRUE(folder.read("b000002.pgm") == folder.read("even.pgm"));
    EXPECT_TRUE(folder.read("b000003.pgm") == folder.read("odd.pgm"));
    const std::string y4m = folder.trvil(fields + "--both --frames :4 a.rec -o - --as y4m").out;
    EXPECT_EQ(y4m.substr(0, 26), "YUV4MPEG2 W94 H124 F50:1 I");
    EXPECT_TRUE(y4m.substr(y4m.size() - 94 * 124) ==
                folder.read("odd.pgm").substr(sizeof "P5\n94 124\n255"));
}

}  // namespace
}  // namespace trv::test
