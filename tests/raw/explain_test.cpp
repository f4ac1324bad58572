// TRW_Explain beside TIL_Convert: the same status always, and true words about what is touched.
#include <gtest/gtest.h>

#include <algorithm>

#include "image/format/format.h"
#include "tests/harness.h"
#include "tests/raw/explaining.h"
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
    void check_beyond_lines(const Format& from, const Format& to, uint32_t width);
    size_t read_beyond(size_t line, size_t stride);
    size_t written_beyond(size_t line, size_t stride);
};

TEST_F(Explain, SaysTheStatusOfEveryPairInAnyGeometry) {
    Random random(test::seed());
    for (const Format& from : trv::formats)
        for (const Format& to : trv::formats)
            for (unsigned i = 0; i < test::rounds(4); ++i) {
                const Shape s = any_shape(from, random), d = any_shape(to, random);
                set_pair(whole_code(from), s, whole_code(to), d);
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

TEST_F(Explain, TellsWhatIsReadAndWrittenBeyondThePictures) {
    Random random(test::seed() + 1);
    for (const Format& from : trv::formats)
        for (const Format& to : trv::formats)
            for (unsigned i = 0; i < test::rounds(20); ++i) {
                const Shape s = any_shape(from, random);
                Shape d = any_shape(to, random);
                if (random.below(2) == 0) d = {s.width, s.height, d.stride};
                set_pair(whole_code(from), s, whole_code(to), d);
                set_any_bayer(random);
                const Explained explained = explain();
                if (explained.status == 10) break;
                SCOPED_TRACE(std::string(from.name) + " " + to.name);
                check_what_is_written(explained, d);
                if (HasFatalFailure()) return;
            }
}

constexpr uint32_t lines = 4, gap = 16;

// Bytes after each line of the source of which the last one that matters is the result.
size_t Explain::read_beyond(size_t line, size_t stride) {
    const auto before = convert_over(0x5A, 0);
    size_t beyond = 0;
    for (size_t k = 0; k < gap; ++k) {
        const auto change = [&] {
            for (size_t y = 0; y < lines; ++y) source_[middle + y * stride + line + k] ^= 0xFF;
        };
        change();
        if (convert_over(0x5A, 0) != before) beyond = k + 1;
        change();
    }
    return beyond;
}

size_t Explain::written_beyond(size_t line, size_t stride) {
    const auto one = convert_over(0x5A, 0), other = convert_over(0xA5, 0);
    size_t beyond = 0;
    for (size_t k = 0; k < gap; ++k)
        for (size_t y = 0; y < lines; ++y) {
            const size_t at = middle + y * stride + line + k;
            if (one[at] == other[at]) beyond = k + 1;
        }
    return beyond;
}

size_t stated(const Explained& explained, const std::string& done) {
    const std::string words = "each line is " + done + " to ";
    const size_t at = explained.text.find(words);
    return at == std::string::npos ? 0 : std::stoul(explained.text.substr(at + words.size()));
}

void Explain::check_beyond_lines(const Format& from, const Format& to, uint32_t width) {
    const uint32_t line = static_cast<uint32_t>(trv::line_bytes(from, width));
    const uint32_t out = static_cast<uint32_t>(trv::line_bytes(to, width));
    // Even strides, and not the same, or copies would be one block.
    const uint32_t source_stride = (line + gap + 1) & ~1u;
    uint32_t stride = (out + gap + 1) & ~1u;
    if (stride == source_stride) stride += 2;
    set_pair(whole_code(from), {width, lines, source_stride}, whole_code(to),
             {width, lines, stride});
    for (uint32_t i = 0; i < 12; ++i) {
        fake().set(source_handle, 9, 0x109 + 0x100 * (i % 3));
        fake().set(source_handle, 10, 0x10A + 0x100 * (i % 4));
        fake().set(source_handle, 18, i % 4);
        const Explained explained = explain();
        if (explained.status == 10) return;
        if (explained.status != 0) continue;  // by this method, or in this phase
        const size_t read = stated(explained, "read");
        // The last sample is read whole, and the bits in its last byte are left out: by the low 8
        // of 12 bits where that byte holds the high 4, and by the lower fields of 30 bits.
        const bool low8 = from.code == trv::Code::Mono12P && to.stored == 32 && read == 2;
        const bool low22 = from.code == trv::Code::RGB30 && to.code == trv::Code::RGB48;
        ASSERT_EQ(read_beyond(line, source_stride), read - (low8 || low22 ? 1 : 0))
            << explained.text;
        ASSERT_EQ(written_beyond(out, stride), stated(explained, "written")) << explained.text;
    }
}

TEST_F(Explain, CountsTheBytesBeyondEachLine) {
    Random random(test::seed() + 2);
    for (uint8_t& byte : source_) byte = static_cast<uint8_t>(random.below(256));
    for (const Format& from : trv::formats)
        for (const Format& to : trv::formats)
            for (uint32_t width = 2; width < 7; ++width) {
                SCOPED_TRACE(std::string(from.name) + " " + to.name + " " + std::to_string(width));
                check_beyond_lines(from, to, width);
                if (HasFatalFailure()) return;
            }
}

}  // namespace
