// Every demosaic kernel at every level against the reference.
#include "tests/reference/bayer.h"
#include "image/exports/convert.h"
#include "image/exports/kernel.h"
#include "tests/harness.h"

namespace {

using namespace trv::bayer;
using test::Random;

const char* const phase_colours[] = {"RGGB", "GRBG", "GBRG", "BGGR"};

reference::Method method_of(const Kernel& k) {
    return static_cast<reference::Method>(k.method);
}

static_assert(static_cast<int>(Output::RGBX32) == static_cast<int>(reference::Store::rgbx32));
reference::Store store_of(const Kernel& k) {
    return static_cast<reference::Store>(k.output);
}

const trv::Format& input_format(const Kernel& k) {
    return trv::format_of(k.input == Input::BAY8 ? trv::Code::BAY8 : trv::Code::BAY16);
}

// Means and medians of an odd width use the sample after the line; nearest never does.
size_t bytes_beyond_line(const Kernel& k, uint32_t width) {
    if (k.method == Method::dup || width % 2 == 0) return 0;
    return k.input == Input::BAY8 ? 1 : 2;
}

std::string name_of(const Kernel& k) {
    const char* methods[] = {"dup", "ave", "med"};
    return std::string(k.input == Input::BAY8 ? "BAY8" : "BAYn") + " to " +
           format_of(k.output).name + " " + methods[static_cast<int>(method_of(k))] + " " +
           "ABCD"[static_cast<int>(k.phase)];
}

// Random samples, some of them with bits above the depth, now and then all at one extreme.
void fill_samples(const test::Picture& p, unsigned bits, Random& random) {
    const unsigned kind = random.below(6);
    for (size_t i = 0; i < p.memory.size(); ++i) {
        uint8_t byte = static_cast<uint8_t>(random.bits());
        if (kind == 0) byte = 0xFF;
        if (kind == 1) byte = random.one_in(20) ? 0xFF : 0;
        if (bits > 8 && i % 2 == 1 && kind < 5)
            byte &= static_cast<uint8_t>((1u << (bits - 8)) - 1);
        p.memory.data()[i] = byte;
    }
}

struct Case {
    Kernel kernel;
    uint32_t width, height, bits;
    uint32_t line_gap = 0;  // bytes added to the destination's stride
};

::testing::AssertionResult check(const trv::Level& level, const Case& c,
                                 const test::Picture& source, Random& random) {
    const trv::Format& format = format_of(c.kernel.output);
    const uint32_t stride = test::any_stride(random, trv::line_bytes(format, c.width)) + c.line_gap;
    test::Picture destination(format, c.width, c.height, stride, 0, test::any_side(random));
    destination.fill(random);
    std::vector<uint8_t> expected = destination.bytes();
    const reference::Mosaic mosaic{source.memory.data(),
                                   source.stride,
                                   c.width,
                                   c.height,
                                   c.bits,
                                   phase_colours[static_cast<int>(c.kernel.phase)]};
    reference::demosaic(mosaic, method_of(c.kernel), store_of(c.kernel), expected.data(), stride);
    const test::Buffer from = test::wrap(source), to = test::wrap(destination);
    EXPECT_EQ(run(level, c.kernel, from.handle(), to.handle(), c.bits), 0u);
    return test::same_bytes(destination, expected)
           << ": " << name_of(c.kernel) << " level " << level.name << " " << c.width << "x"
           << c.height << " bits " << c.bits << " strides " << source.stride << ", " << stride;
}

void compare(const Case& c, Random& random) {
    const trv::Format& format = input_format(c.kernel);
    const uint32_t stride = test::any_stride(random, trv::line_bytes(format, c.width));
    test::Picture source(format, c.width, c.height, stride, bytes_beyond_line(c.kernel, c.width),
                         test::any_side(random));
    fill_samples(source, c.bits, random);
    const trv::Machine other = test::any_machine(random);
    for (unsigned level = 0; level <= trv::best_level(); ++level) {
        ASSERT_TRUE(check(trv::levels[level], c, source, random));
        ASSERT_TRUE(check(trv::on_machine(trv::levels[level], other), c, source, random));
    }
}

uint32_t any_bits(const Kernel& k, Random& random) {
    return k.input == Input::BAY8 ? 8 : random.between(9, 16);
}

TEST(Bayer, EveryKernelEqualsTheReferenceOverRandomGeometries) {
    test::machine_levels();
    Random random(test::seed());
    for (const Kernel& kernel : kernels)
        for (unsigned i = 0; i < test::rounds(40); ++i) {
            compare(
                {kernel, test::any_width(random), random.between(2, 9), any_bits(kernel, random)},
                random);
            ASSERT_FALSE(HasFatalFailure());
        }
}

TEST(Bayer, EveryWidthMeetsEveryTail) {
    Random random(test::seed() + 1);
    for (uint32_t width = 2; width <= 200; ++width)
        for (const Kernel& kernel : kernels) {
            if (kernel.phase != static_cast<trv::Phase>(width % 4) &&
                kernel.output != Output::BGR16)
                continue;
            compare({kernel, width, random.between(2, 4), any_bits(kernel, random)}, random);
            ASSERT_FALSE(HasFatalFailure());
        }
}

// Planted faults: a harness counts for something once it has failed.
enum class Fault { last_pixel, byte_behind, pad_byte };

template <Fault F>
void faulty(const Lines& line) {
    constexpr SpanLayout layout = F == Fault::pad_byte ? bgrx32 : bgr24;
    constexpr size_t bytes = F == Fault::pad_byte ? 4 : 3;
    // Right for the even lines of phase A; what is planted shows on them.
    trv::scalar::bayer_spans.get(depth8, layout, nearest, {false, true})(line);
    uint8_t* last = line.out + line.pairs * 2 * bytes;
    if (F == Fault::last_pixel) ++last[0];
    if (F == Fault::byte_behind) ++last[3];
    if (F == Fault::pad_byte) ++last[-1];
}

// In how many of 20 geometries the fault shows. The last line is odd, so that no planted byte lies
// after the picture, where it would end the test.
template <Fault F>
int times_found(Output output) {
    Spans spans = *trv::levels[0].bayer;
    for (auto& layouts : spans.span[depth8]) layouts[nearest][false][true] = faulty<F>;
    trv::Level level = trv::levels[0];
    level.bayer = &spans;
    Random random(test::seed());
    const Case c{{Input::BAY8, output, Method::dup, trv::Phase::A}, 9, 4, 8};
    test::Picture source(trv::format_of(trv::Code::BAY8), c.width, c.height, 9, 0,
                         test::Guarded::At::back);
    source.fill(random);
    int found = 0;
    for (int i = 0; i < 20; ++i) found += !check(level, c, source, random);
    return found;
}

// Pictures of more than 2 MiB are stored from cache line to cache line. One with few long lines is
// as large as one with many, and lines begin anywhere in a cache line.
TEST(Bayer, LargePicturesEqualTheReference) {
    test::machine_levels();
    Random random(test::seed());
    for (const Kernel& kernel : kernels) {
        const uint32_t gap = (2 * 1024 * 1024) / 4 + random.below(64);
        compare({kernel, random.between(100, 500), 4, any_bits(kernel, random), gap}, random);
        ASSERT_FALSE(HasFatalFailure());
    }
    // Beyond 32 MiB other loops make them, the same for all kernels of a layout.
    for (const Output output : {Output::RGB16, Output::BGR24}) {
        const Kernel kernel{Input::BAY8, output, Method::med, trv::Phase::C};
        compare({kernel, random.between(100, 500), 3, 8, 32 * 1024 * 1024 / 3 + 1}, random);
        ASSERT_FALSE(HasFatalFailure());
    }
}

TEST(Bayer, PlantedFaultsAreFound) {
    EXPECT_EQ(times_found<Fault::last_pixel>(Output::BGR24), 20);
    EXPECT_GT(times_found<Fault::byte_behind>(Output::BGR24), 5);
    EXPECT_EQ(times_found<Fault::pad_byte>(Output::BGRX32), 20);
}

// The depth comes from the format, method and phase from the settings, never from the letter.
TEST(Bayer, TilConvertReachesEveryKernelWithTheDepthOfTheFormat) {
    Random random(test::seed() + 3);
    for (const trv::Format& format : trv::formats) {
        if (format.family != trv::Family::bayer || trv::is_packed(format)) continue;
        for (const Kernel& kernel : kernels) {
            if ((kernel.input == Input::BAY8) != (format.significant == 8)) continue;
            test::Picture source(format, 9, 5, 20, 2, test::Guarded::At::back);
            fill_samples(source, format.significant, random);
            test::Picture destination(format_of(kernel.output), 9, 5, 40, 0,
                                      test::Guarded::At::back);
            destination.fill(random);
            std::vector<uint8_t> expected = destination.bytes();
            const reference::Mosaic mosaic{source.memory.data(),
                                           20,
                                           9,
                                           5,
                                           format.significant,
                                           phase_colours[static_cast<int>(kernel.phase)]};
            reference::demosaic(mosaic, method_of(kernel), store_of(kernel), expected.data(), 40);
            test::Buffer from = test::wrap(source), to = test::wrap(destination);
            from.method(trvil::Method{(static_cast<uint32_t>(kernel.method) + 1) << 8 | 9});
            from.phase(trvil::Phase{(static_cast<uint32_t>(kernel.phase) + 1) << 8 | 10});
            ASSERT_EQ(trv::convert(trv::current_level(), from.handle(), to.handle()), 0u);
            ASSERT_TRUE(test::same_bytes(destination, expected)) << format.name << name_of(kernel);
        }
    }
}

// Four values from 0 to 3 in every order and with every tie, as the neighbours of a blue site: in
// phase A pixel x of line 1, x odd, with green around it and red at its corners.
TEST(Bayer, MediansEqualSortingOverEveryWeakOrdering) {
    for (const Kernel& kernel : kernels) {
        if (kernel.method != Method::med || kernel.phase != trv::Phase::A) continue;
        const bool deep = kernel.input == Input::BAYn;
        const uint32_t width = 4 * 256 + 3, stride = deep ? 2 * width + 2 : width + 1;
        test::Picture source(input_format(kernel), width, 3, stride,
                             bytes_beyond_line(kernel, width), test::Guarded::At::front);
        std::memset(source.memory.data(), 0, source.memory.size());
        const auto put = [&](uint32_t x, uint32_t y, uint32_t value) {
            source.memory.data()[y * stride + (deep ? 2 * x + 1 : x)] =
                static_cast<uint8_t>(value * 80);
        };
        for (uint32_t code = 0; code < 256; ++code) {
            const uint32_t x = 4 * code + 1;
            const uint32_t v[] = {code & 3, code >> 2 & 3, code >> 4 & 3, code >> 6};
            put(x - 1, 1, v[0]), put(x + 1, 1, v[1]), put(x, 0, v[2]), put(x, 2, v[3]);
            put(x - 1, 0, v[0]), put(x + 1, 0, v[1]), put(x - 1, 2, v[2]), put(x + 1, 2, v[3]);
        }
        Random random(test::seed());
        for (unsigned level = 0; level <= trv::best_level(); ++level)
            for (const uint32_t bits : {10u, 16u})
                ASSERT_TRUE(
                    check(trv::levels[level], {kernel, width, 3, deep ? bits : 8}, source, random));
    }
    const reference::Reducer reducer(reference::Mosaic{nullptr, 0, 0, 0, 8, "RGGB"});
    EXPECT_EQ(reducer.of_four(reference::Method::med, {10, 10, 10, 250}), 10u);
    EXPECT_EQ(reducer.of_four(reference::Method::ave, {10, 10, 10, 250}), 70u);
    EXPECT_EQ(reducer.of_four(reference::Method::med, {4, 1, 3, 2}), 2u);
    EXPECT_EQ(reducer.of_four(reference::Method::med, {200, 9, 5, 9}), 9u);
}

TEST(Bayer, PicturesBelowTwoByTwoAreLeftAlone) {
    Random random(test::seed() + 2);
    for (const auto& [width, height] : {std::pair<uint32_t, uint32_t>{1, 5}, {5, 1}, {1, 1}})
        for (const Kernel& kernel : kernels) {
            test::Picture source(input_format(kernel), width, height, 64, 0,
                                 test::Guarded::At::back);
            test::Picture destination(format_of(kernel.output), width, height, 64, 0,
                                      test::Guarded::At::back);
            destination.fill(random);
            const std::vector<uint8_t> before = destination.bytes();
            const test::Buffer from = test::wrap(source), to = test::wrap(destination);
            EXPECT_EQ(run(trv::current_level(), kernel, from.handle(), to.handle(), 12), 0u);
            EXPECT_TRUE(test::same_bytes(destination, before)) << name_of(kernel);
        }
}

}  // namespace
