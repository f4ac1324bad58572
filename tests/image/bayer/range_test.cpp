// Ranges of a mosaic's lines come to what the whole comes to. Each has memory of its own, between
// guard pages: its lines, of the source one more on either side, and not the last pad byte.
#include "image/dispatch/run.h"
#include "tests/harness.h"

namespace {

using namespace trv::bayer;
using test::Guarded;
using test::Random;

struct Case {
    Kernel kernel;
    Image image;
    size_t source_line, destination_line;  // bytes that are read and written of a line
    size_t source_step, destination_step;
};

Case any_case(const Kernel& kernel, Random& random) {
    const bool deep = kernel.input == Input::BAYn;
    const uint32_t sample = deep ? 2 : 1, pixel = format_of(kernel.output).stored / 8u;
    Case c{};
    c.kernel = kernel;
    Image& image = c.image;
    image.width = test::any_width(random);
    image.height = random.between(2, 9);
    image.bits = deep ? random.between(9, 16) : 8;
    // Means and medians of an odd width use the sample after the line.
    const uint32_t beyond = kernel.method != Method::dup ? image.width % 2 : 0;
    c.source_line = size_t{image.width + beyond} * sample;
    c.destination_line = size_t{image.width} * pixel - (pixel == 4);
    image.source_stride = test::any_stride(random, c.source_line + 1);
    image.destination_stride = test::any_stride(random, c.destination_line + (pixel == 2));
    c.source_step = deep ? image.source_stride & ~1u : image.source_stride;
    c.destination_step = pixel == 2 ? image.destination_stride & ~1u : image.destination_stride;
    return c;
}

// The lines that are read for others.
trv::LineRange with_neighbours(const Case& c, trv::LineRange lines) {
    return {lines.first == 0 ? 0 : lines.first - 1,
            lines.last == c.image.height ? lines.last : lines.last + 1};
}

void convert(const trv::Level& level, const Case& c, const std::vector<uint8_t>& source,
             std::vector<uint8_t>* picture, trv::LineRange lines, Random& random) {
    const trv::LineRange read = with_neighbours(c, lines);
    const size_t from = read.first * c.source_step, to = lines.first * c.destination_step;
    const Guarded in((read.last - 1) * c.source_step + c.source_line - from,
                     test::any_side(random));
    const Guarded out((lines.last - 1) * c.destination_step + c.destination_line - to,
                      test::any_side(random));
    std::memcpy(in.data(), source.data() + from, in.size());
    std::memcpy(out.data(), picture->data() + to, out.size());
    Image image = c.image;
    image.source = in.data() - from;
    image.destination = out.data() - to;
    convert_lines(level, c.kernel, image, lines);
    std::memcpy(picture->data() + to, out.data(), out.size());
}

void compare(const Case& c, const trv::Level& level, Random& random) {
    const uint32_t height = c.image.height;
    std::vector<uint8_t> source(height * c.source_step + c.source_line);
    for (uint8_t& byte : source) byte = static_cast<uint8_t>(random.bits());
    std::vector<uint8_t> whole((height - 1) * c.destination_step + c.destination_line);
    for (uint8_t& byte : whole) byte = static_cast<uint8_t>(random.bits());
    std::vector<uint8_t> parts = whole;
    convert(level, c, source, &whole, {0, height}, random);
    // From the last line upwards, so that no range mends what another one spoils.
    for (uint32_t last = height; last != 0;) {
        const uint32_t first = last - random.between(1, last);
        convert(level, c, source, &parts, {first, last}, random);
        last = first;
    }
    ASSERT_EQ(whole, parts) << "level " << level.name << " kernel "
                            << static_cast<int>(c.kernel.input) << ' '
                            << static_cast<int>(c.kernel.output) << ' ' << c.kernel.method << ' '
                            << c.image.width << 'x' << height;
}

TEST(BayerRange, EveryKernelInParts) {
    Random random(test::seed());
    const auto levels = test::machine_levels();
    for (const Kernel& kernel : kernels)
        for (unsigned i = 0; i < test::rounds(25); ++i)
            for (const unsigned level : levels) {
                compare(any_case(kernel, random),
                        trv::on_machine(trv::levels[level], test::any_machine(random)), random);
                ASSERT_FALSE(HasFatalFailure());
            }
}

}  // namespace
