// Every field method at every level against the reference.
#include "tests/reference/field.h"
#include "image/exports/field_to_frame.h"
#include "image/field/rule.h"
#include "tests/harness.h"
#include "trvil/til.h"

namespace {

using reference::FieldMethod;
using test::Random;

const char* const interpolated[] = {"Mono8",  "BGR24",  "RGB24",  "XBGR32", "BGRX32",
                                    "XRGB32", "RGBX32", "RGBA32", "YUV422"};

struct Case {
    std::string format;
    uint32_t pixels, lines;
    FieldMethod method;
    uint32_t flag;
};

// Bytes of a frame: every line at the stride of the field, the last of them as far as it goes.
void compare(const Case& c, uint32_t stride, Random& random) {
    const trv::Format& format = test::format_named(c.format);
    test::Picture field(format, c.pixels, c.lines, stride,
                        stride - trv::line_bytes(format, c.pixels), test::any_side(random));
    test::Picture frame(format, c.pixels, 2 * c.lines, stride,
                        stride - trv::line_bytes(format, c.pixels), test::any_side(random));
    field.fill(random);
    frame.fill(random);
    const std::vector<uint8_t> background = frame.bytes();
    std::vector<uint8_t> expected = background;
    reference::field_to_frame(field.memory.data(), stride, c.lines, c.format, c.method, c.flag != 0,
                              expected.data());
    const test::Buffer from = test::wrap(field), to = test::wrap(frame);
    const trv::Machine machine = test::any_machine(random);
    for (unsigned level = 0; level <= trv::best_level(); ++level) {
        frame.put(background);
        ASSERT_EQ(trv::field_to_frame(trv::on_machine(trv::levels[level], machine), from.handle(),
                                      to.handle(), static_cast<uint32_t>(c.method), c.flag),
                  0u);
        ASSERT_TRUE(test::same_bytes(frame, expected))
            << ": " << c.format << " method " << static_cast<int>(c.method) << " flag " << c.flag
            << " level " << trv::levels[level].name << " " << c.pixels << "x" << c.lines
            << " stride " << stride;
    }
}

// Two pixels at least, whole pixels, YUV422 by pairs of bytes; padding is made of whole pixels too.
void compare_random(const std::string& name, FieldMethod method, Random& random) {
    const trv::Format& format = test::format_named(name);
    const uint32_t least = name == "YUV422" ? 4 : 2;
    const uint32_t pixels = std::max(least, test::any_width(random));
    const uint32_t padding = random.one_in(2) ? 0 : random.below(40);
    const uint32_t stride = (pixels + padding) * format.stored / 8;
    compare({name, pixels, random.between(1, 13), method, random.below(3) * 7}, stride, random);
}

TEST(Field, EveryMethodEqualsTheReferenceOverRandomGeometries) {
    test::machine_levels();
    Random random(test::seed());
    for (const char* name : interpolated)
        for (int method = 0; method < 4; ++method)
            for (unsigned i = 0; i < test::rounds(60); ++i) {
                compare_random(name, static_cast<FieldMethod>(method), random);
                ASSERT_FALSE(HasFatalFailure());
            }
}

TEST(Field, LineMethodsTakeAnyFormatAndAnyStride) {
    Random random(test::seed() + 2);
    for (const char* name : {"Mono16", "RGB48", "Mono10P", "BAY8"})
        for (unsigned i = 0; i < test::rounds(40); ++i) {
            const uint32_t pixels = random.between(1, 90);
            const uint32_t stride =
                test::any_stride(random, trv::line_bytes(test::format_named(name), pixels));
            const auto method = random.one_in(2) ? FieldMethod::average : FieldMethod::duplicate;
            compare({name, pixels, random.between(1, 5), method, random.below(2)}, stride, random);
            ASSERT_FALSE(HasFatalFailure());
        }
}

// Six values from 0 to 5 in every order and with every tie.
TEST(Median6, EqualsSortingOverEveryWeakOrdering) {
    for (uint32_t code = 0; code < 46656; ++code) {
        uint32_t v[6];
        std::array<uint8_t, 6> bytes;
        for (uint32_t i = 0, rest = code; i < 6; ++i, rest /= 6) {
            v[i] = rest % 6 * 41 + (i == 3 ? 0xABC00 : 0);  // only low bytes count
            bytes[i] = static_cast<uint8_t>(v[i]);
        }
        ASSERT_EQ(TRV_median6(v[0], v[1], v[2], v[3], v[4], v[5]), reference::median_of_six(bytes))
            << code;
    }
    EXPECT_EQ(TRV_median6(5, 5, 5, 9, 9, 9), 7u);
    EXPECT_EQ(TRV_median6(10, 20, 30, 40, 50, 60), 35u);
    EXPECT_EQ(TRV_median6(0x1FF, 0x2FE, 3, 4, 5, 6), 5u);
}

// The same orderings through the vector rows: value k of the six lies around byte 3 k + 1.
TEST(Median6, VectorRowsEqualSortingOverEveryWeakOrdering) {
    std::vector<uint8_t> upper, lower;
    for (uint32_t code = 0; code < 46656; ++code) {
        uint32_t rest = code;
        for (int i = 0; i < 3; ++i, rest /= 6) upper.push_back(static_cast<uint8_t>(rest % 6 * 50));
        for (int i = 0; i < 3; ++i, rest /= 6) lower.push_back(static_cast<uint8_t>(rest % 6 * 50));
    }
    const size_t stride = upper.size();
    std::vector<uint8_t> lines = upper, out(2 * stride);
    lines.insert(lines.end(), lower.begin(), lower.end());
    for (unsigned level = 0; level <= trv::best_level(); ++level) {
        trv::levels[level].field->median[trv::field::one](
            {lines.data() + 1, out.data() + 1, stride, stride - 2, 1, false});
        for (size_t k = 1; k + 1 < stride; k += 3)
            ASSERT_EQ(out[stride + k],
                      reference::median_of_six({upper[k - 1], upper[k], upper[k + 1], lower[k - 1],
                                                lower[k], lower[k + 1]}));
    }
}

// The bilinear arithmetic over all sums that six bytes can have.
TEST(Bilinear, TheHighHalfOf1920TimesTIsTheRule) {
    for (uint32_t centre = 0; centre <= 510; ++centre)
        for (uint32_t beside = 0; beside <= 1020; ++beside) {
            const uint32_t t = 7 * centre + 5 * beside;
            ASSERT_LE(t, 0xFFFFu);
            ASSERT_EQ(t * 1920 >> 16, (105 * centre + 75 * beside) >> 9);
        }
}

}  // namespace
