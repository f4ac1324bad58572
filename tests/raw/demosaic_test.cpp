// Mosaics that keep their depth, and the method `gradient`, at every level against the references.
#include "raw/demosaic/demosaic.h"

#include "image/dispatch/run.h"
#include "tests/harness.h"
#include "tests/reference/gradient.h"

namespace {

using test::Random;
using trv::Code;
using trv::Format;
using trv::raw::method_gradient;

constexpr trv::bayer::Method methods[] = {trv::bayer::dup, trv::bayer::ave, trv::bayer::med,
                                          method_gradient};
constexpr Code destinations[] = {Code::RGB48, Code::BGR48,  Code::RGB24,
                                 Code::BGR24, Code::RGBX32, Code::BGRX32};
const char* const phase_colours[] = {"RGGB", "GRBG", "GBRG", "BGGR"};

struct Case {
    trv::bayer::Method method;
    trv::Phase phase;
    uint32_t bits;
    Code destination;
    uint32_t width, height;

    const Format& format() const { return trv::format_of(destination); }
    const Format& samples() const { return trv::format_of(bits == 8 ? Code::BAY8 : Code::BAY16); }
    bool keeps_depth() const { return format().stored == 48; }
};

std::string describe(const Case& c, const trv::raw::Level& level) {
    return std::string("method ") + std::to_string(static_cast<int>(c.method)) + " " +
           phase_colours[static_cast<int>(c.phase)] + " " + std::to_string(c.bits) + " bits to " +
           c.format().name + " " + std::to_string(c.width) + "x" + std::to_string(c.height) +
           " level " + level.name;
}

// Random samples, some beyond the depth, now and then at the extremes, where sums are largest.
void fill_samples(const test::Picture& p, uint32_t bits, Random& random) {
    const unsigned kind = random.below(5);
    for (size_t i = 0; i < p.memory.size(); ++i) {
        auto byte = static_cast<uint8_t>(random.bits());
        if (kind == 0) byte = random.one_in(2) ? 0xFF : 0;
        if (kind == 1) byte = random.one_in(20) ? 0xFF : 0;
        if (bits > 8 && i % 2 == 1 && kind < 4)
            byte &= static_cast<uint8_t>((1u << (bits - 8)) - 1);
        p.memory.data()[i] = byte;
    }
}

void put(const Case& c, const reference::Pixel& p, uint8_t* at) {
    const bool red_first = c.format().fields[0].channel == trv::Channel::R;
    const uint32_t colours[] = {red_first ? p.red : p.blue, p.green, red_first ? p.blue : p.red};
    for (size_t i = 0; i < 3; ++i)
        if (c.keeps_depth())
            std::memcpy(at + 2 * i, &colours[i], 2);
        else
            at[i] = static_cast<uint8_t>(colours[i]);
}

class Pictures {
  public:
    Pictures(const Case& c, Random& random)
        : c_(c),
          source_(c.samples(), c.width, c.height, stride(c.samples(), c, random), behind(),
                  test::any_side(random)),
          destination_(c.format(), c.width, c.height, stride(c.format(), c, random), 0,
                       test::any_side(random)) {
        fill_samples(source_, c.bits, random);
        destination_.fill(random);
        background_ = expected_ = destination_.bytes();
        expect();
    }

    // Lines in two calls.
    ::testing::AssertionResult is_right(const trv::raw::Level& level, uint32_t seam) const {
        destination_.put(background_);
        trv::bayer::Image image{};
        image.source = source_.memory.data();
        image.destination = destination_.memory.data();
        image.source_stride = source_.stride;
        image.destination_stride = destination_.stride;
        image.width = c_.width;
        image.height = c_.height;
        image.bits = c_.bits;
        const trv::raw::Demosaic demosaic{c_.method, c_.phase, &c_.format()};
        trv::raw::demosaic_lines(level, demosaic, image, {seam, c_.height});
        trv::raw::demosaic_lines(level, demosaic, image, {0, seam});
        return test::same_bytes(destination_, expected_) << ": " << describe(c_, level);
    }

  private:
    static uint32_t stride(const Format& format, const Case& c, Random& random) {
        return test::any_stride(random, trv::line_bytes(format, c.width));
    }
    size_t behind() const {
        const bool looks = c_.method == trv::bayer::ave || c_.method == trv::bayer::med;
        return looks && c_.width % 2 != 0 ? c_.samples().stored / 8u : 0;
    }
    void expect() {
        if (c_.width < 2 || c_.height < 2) return;
        const reference::Mosaic mosaic{source_.memory.data(),
                                       source_.stride,
                                       c_.width,
                                       c_.height,
                                       c_.bits,
                                       phase_colours[static_cast<int>(c_.phase)],
                                       c_.keeps_depth()};
        const size_t pixel = c_.format().stored / 8u;
        for (uint32_t y = 0; y < c_.height; ++y)
            for (uint32_t x = 0; x < c_.width; ++x)
                put(c_,
                    c_.method == method_gradient
                        ? gradient_pixel(mosaic, x, y)
                        : pixel_by(static_cast<reference::Method>(c_.method), mosaic, x, y),
                    expected_.data() + size_t{destination_.stride} * y + pixel * x);
    }
    static reference::Pixel pixel_by(reference::Method method, const reference::Mosaic& mosaic,
                                     uint32_t x, uint32_t y) {
        return reference::pixel(mosaic, method, x, y);
    }

    Case c_;
    test::Picture source_, destination_;
    std::vector<uint8_t> background_, expected_;
};

void compare(const Case& c, Random& random) {
    const Pictures pictures(c, random);
    const trv::Machine other = test::any_machine(random);
    for (unsigned i = 0; i <= trv::raw::best_level(); ++i) {
        trv::raw::Level level = trv::raw::levels[i];
        ASSERT_TRUE(pictures.is_right(level, random.below(c.height + 1)));
        level.image = trv::on_machine(level.image, other);
        ASSERT_TRUE(pictures.is_right(level, random.below(c.height + 1)));
    }
}

// Every width meets every tail, and the fallback of every level.
TEST(Demosaic, EveryMethodEqualsTheReferenceAtEveryWidth) {
    test::machine_levels();
    Random random(test::seed());
    for (uint32_t width = 1; width <= 201; width += width < 150 ? 1 : 3)
        for (const trv::bayer::Method method : methods)
            for (const Code destination : destinations) {
                const bool is_made =
                    trv::format_of(destination).stored == 48 || method == method_gradient;
                for (const uint32_t bits : {8u, random.between(9, 16)}) {
                    if (!is_made) continue;
                    const auto phase = static_cast<trv::Phase>(random.below(4));
                    compare({method, phase, bits, destination, width, random.between(1, 6)},
                            random);
                    ASSERT_FALSE(HasFatalFailure());
                }
            }
}

TEST(Demosaic, EveryPhaseDepthAndMethodEqualsTheReference) {
    Random random(test::seed() + 1);
    for (const trv::bayer::Method method : methods)
        for (uint32_t bits = 8; bits <= 16; ++bits)
            for (uint32_t phase = 0; phase < 4; ++phase)
                for (unsigned i = 0; i < test::rounds(3); ++i) {
                    const bool words = method != method_gradient || random.one_in(2);
                    compare({method, static_cast<trv::Phase>(phase), bits,
                             destinations[random.below(words ? 2 : 6)], test::any_width(random),
                             random.between(2, 9)},
                            random);
                    ASSERT_FALSE(HasFatalFailure());
                }
}

// What the kernels make of a mosaic is this, shifted down by n - 8.
void compare_with_kernel(const Case& c, Random& random) {
    test::Picture source(c.samples(), c.width, c.height, 2 * c.width + 3, 2,
                         test::any_side(random));
    fill_samples(source, c.bits, random);
    const size_t values = size_t{3} * c.width * c.height;
    std::vector<uint16_t> words(values);
    std::vector<uint8_t> bytes(values);
    trv::bayer::Image image{};
    image.source = source.memory.data();
    image.source_stride = source.stride;
    image.width = c.width;
    image.height = c.height;
    image.bits = c.bits;
    const trv::bayer::Kernel kernel{c.bits == 8 ? trv::bayer::Input::BAY8 : trv::bayer::Input::BAYn,
                                    trv::bayer::Output::BGR24, c.method, c.phase};
    for (unsigned level = 0; level <= trv::raw::best_level(); ++level) {
        image.destination = reinterpret_cast<uint8_t*>(words.data());
        image.destination_stride = 6 * c.width;
        trv::raw::demosaic_lines(trv::raw::levels[level], {c.method, c.phase, &c.format()}, image,
                                 {0, c.height});
        image.destination = bytes.data();
        image.destination_stride = 3 * c.width;
        trv::bayer::convert_lines(trv::levels[level], kernel, image, {0, c.height});
        for (size_t i = 0; i < values; ++i)
            ASSERT_EQ(words[i] >> (c.bits - 8) & 0xFF, bytes[i])
                << describe(c, trv::raw::levels[level]) << " value " << i;
    }
}

TEST(Demosaic, WordsShiftedDownAreTheKernelsBytes) {
    Random random(test::seed() + 2);
    for (const uint32_t bits : {8u, 10u, 12u, 14u, 16u})
        for (uint32_t phase = 0; phase < 4; ++phase)
            for (const trv::bayer::Method method :
                 {trv::bayer::dup, trv::bayer::ave, trv::bayer::med}) {
                compare_with_kernel({method, static_cast<trv::Phase>(phase), bits, Code::BGR48,
                                     random.between(2, 67), random.between(2, 7)},
                                    random);
                ASSERT_FALSE(HasFatalFailure());
            }
}

}  // namespace
