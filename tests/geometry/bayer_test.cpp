// Every demosaic kernel at many random geometries.
#include "tests/reference/bayer.h"
#include "image/exports/kernel.h"
#include "tests/geometry/check.h"

namespace {

using namespace trv::bayer;
using geometry::Places;
using test::Random;

const char* const phase_colours[] = {"RGGB", "GRBG", "GBRG", "BGGR"};
const char* const method_names[] = {"dup", "ave", "med"};

struct Geometry {
    const Kernel& kernel;
    uint32_t width, height, bits;
    uint32_t source_stride, destination_stride;

    bool deep() const { return kernel.input == Input::BAYn; }
    const trv::Format& from() const {
        return trv::format_of(deep() ? trv::Code::BAY16 : trv::Code::BAY8);
    }
    const trv::Format& to() const { return format_of(kernel.output); }
    // Means and medians of an odd width use the sample after the line; nearest never does.
    size_t source_bytes() const {
        const bool one_more = kernel.method != Method::dup && width % 2 == 1;
        const size_t step = deep() ? source_stride & ~1u : source_stride;
        return step * (height - 1) + trv::line_bytes(from(), width + one_more);
    }
    size_t destination_bytes() const {
        const size_t step = to().stored == 16 ? destination_stride & ~1u : destination_stride;
        return step * (height - 1) + trv::line_bytes(to(), width);
    }
    void expect(const uint8_t* source, uint8_t* out) const {
        const reference::Mosaic mosaic{source, source_stride, width,
                                       height, bits,          phase_colours[phase()]};
        reference::demosaic(mosaic, static_cast<reference::Method>(kernel.method),
                            static_cast<reference::Store>(kernel.output), out, destination_stride);
    }
    int phase() const { return static_cast<int>(kernel.phase); }
};

static_assert(static_cast<int>(Output::RGBX32) == static_cast<int>(reference::Store::rgbx32));

Geometry any_geometry(const Kernel& kernel, Random& random) {
    Geometry g{kernel,
               geometry::any_width(random, 2),
               random.between(2, 5),
               kernel.input == Input::BAY8 ? 8 : random.between(9, 16),
               0,
               0};
    g.source_stride = test::any_stride(random, trv::line_bytes(g.from(), g.width));
    g.destination_stride = test::any_stride(random, trv::line_bytes(g.to(), g.width));
    return g;
}

::testing::AssertionResult check(const Geometry& g, geometry::Pattern pattern, Places& places,
                                 Random& random) {
    const size_t source_size = g.source_bytes();
    places.choose(source_size, g.destination_bytes(), random);
    geometry::paint(places.source, source_size, pattern, random);
    const test::Buffer from =
        geometry::wrap(g.from(), g.width, g.height, g.source_stride, places.source);
    const test::Buffer to =
        geometry::wrap(g.to(), g.width, g.height, g.destination_stride, places.destination);
    return geometry::check(
               places, [&](uint8_t* out) { g.expect(places.source, out); },
               [&](const trv::Level& level) {
                   return run(level, g.kernel, from.handle(), to.handle(), g.bits);
               })
           << ": " << g.from().name << " to " << g.to().name << " "
           << method_names[static_cast<int>(g.kernel.method)] << " " << phase_colours[g.phase()]
           << " bits " << g.bits << " " << g.width << "x" << g.height << " strides "
           << g.source_stride << ", " << g.destination_stride;
}

TEST(Geometry, DemosaicKernels) {
    Random random(test::seed() + 1);
    Places places;
    uint64_t drawn = 0;
    for (const Kernel& kernel : kernels)
        for (unsigned i = 0; i < geometry::geometries(); ++i, ++drawn) {
            const auto pattern =
                static_cast<geometry::Pattern>(i % static_cast<unsigned>(geometry::Pattern::count));
            ASSERT_TRUE(check(any_geometry(kernel, random), pattern, places, random));
        }
    geometry::expect_all_offsets(places, drawn);
}

}  // namespace
