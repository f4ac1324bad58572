// TBS_Explain beside TIL_Convert: the same status always, and true words about what is touched.
#include <gtest/gtest.h>

#include <algorithm>

#include "image/pixel/format.h"
#include "tests/companion/explaining.h"
#include "tests/harness.h"
#include "trvil/til.h"

namespace {

using namespace test;
using trv::Format;

// Any picture, also one whose lines overlap or that is too small for anything. Only a width beyond
// the stride is left out: a copy would step backwards by it, which sanitizers take for an overflow.
Shape any_shape(const Format& format, Random& random) {
    const uint32_t width = random.below(20), height = random.below(6);
    const uint32_t line = static_cast<uint32_t>(trv::line_bytes(format, width));
    const uint32_t stride = random.below(3) == 0 ? random.below(90) : line + random.below(4);
    return {std::min(width, stride), height, stride};
}

class Explain : public Explaining {
  protected:
    void set_any_bayer(Random& random) {
        const uint32_t methods[] = {0x109, 0x209, 0x309, 0x209, 0x309, 0x009, 0x409};
        const uint32_t phases[] = {0x10A, 0x20A, 0x30A, 0x40A, 0x10A, 0x00A, 0x50A};
        fake().set(source_handle, 9, methods[random.below(7)]);
        fake().set(source_handle, 10, phases[random.below(7)]);
        fake().set(source_handle, 18, random.below(5));
    }
    std::vector<uint8_t> convert_over(uint8_t background, uint32_t expected) {
        std::fill(destination_.begin(), destination_.end(), background);
        EXPECT_EQ(TIL_Convert(source_handle, destination_handle), expected);
        return destination_;
    }
    void check_what_is_written(const Explained& explained, const Shape& d);
    void check_what_is_read(const Explained& explained, const Format& from, const Shape& s);
};

uint32_t whole(const Format& format) {
    return trv::format_prefix + static_cast<uint32_t>(format.code);
}

TEST_F(Explain, SaysTheStatusOfEveryPairInAnyGeometry) {
    Random random(test::seed());
    for (const Format& from : trv::formats)
        for (const Format& to : trv::formats)
            for (unsigned i = 0; i < test::rounds(4); ++i) {
                const Shape s = any_shape(from, random), d = any_shape(to, random);
                set_pair(whole(from), s, whole(to), d);
                set_any_bayer(random);
                const Explained explained = explain();
                ASSERT_EQ(TIL_Convert(source_handle, destination_handle), explained.status)
                    << from.name << " " << to.name << "\n"
                    << explained.text;
                ASSERT_EQ(explained.status != 0,
                          explained.says("\nwhy: ") && !explained.says("not passed on"));
            }
}

// Written bytes are found by converting over two backgrounds.
void Explain::check_what_is_written(const Explained& explained, const Shape& d) {
    const auto one = convert_over(0x5A, explained.status);
    const auto other = convert_over(0xA5, explained.status);
    size_t end = 0;
    for (size_t i = 0; i < one.size(); ++i)
        if (one[i] == other[i]) end = i + 1;
    ASSERT_EQ(end == 0, explained.status != 0 || explained.says("nothing is written"))
        << explained.text;
    if (end == 0) return;
    // The last byte may be a pad byte, which is kept.
    const size_t held = middle + size_t{d.stride} * d.height;
    const bool overrun = explained.says("and no size check sees it");
    ASSERT_TRUE(overrun ? end + 1 >= held : end <= held) << end << " " << held << explained.text;
}

// Of lines that do not overlap, what lies between and behind them must not matter unsaid.
void Explain::check_what_is_read(const Explained& explained, const Format& from, const Shape& s) {
    const size_t line = trv::line_bytes(from, s.width);
    if (s.stride < line || s.stride % 2 != 0) return;
    const auto before = convert_over(0x5A, explained.status);
    for (size_t i = 0; i < middle; ++i)
        if (i / s.stride >= s.height || i % s.stride >= line) source_[middle + i] ^= 0xFF;
    if (convert_over(0x5A, explained.status) == before) return;
    ASSERT_TRUE(explained.says("each line is read to") || explained.says("as one block"))
        << explained.text;
}

TEST_F(Explain, TellsWhatIsReadAndWrittenBeyondThePictures) {
    Random random(test::seed() + 1);
    for (const Format& from : trv::formats)
        for (const Format& to : trv::formats)
            for (unsigned i = 0; i < test::rounds(40); ++i) {
                const Shape s = any_shape(from, random);
                Shape d = any_shape(to, random);
                if (random.below(2) == 0) d = {s.width, s.height, d.stride};
                set_pair(whole(from), s, whole(to), d);
                set_any_bayer(random);
                const Explained explained = explain();
                if (explained.status == 10) break;
                for (uint8_t& byte : source_) byte = static_cast<uint8_t>(random.below(256));
                SCOPED_TRACE(std::string(from.name) + " " + to.name);
                check_what_is_written(explained, d);
                if (explained.status == 0 && s.stride != 0) check_what_is_read(explained, from, s);
                if (HasFatalFailure()) return;
            }
}

}  // namespace
