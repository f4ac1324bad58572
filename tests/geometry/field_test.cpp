// Every field method in every format it takes, at many random geometries.
#include "tests/reference/field.h"
#include "image/exports/field_to_frame.h"
#include "tests/geometry/check.h"

namespace {

using geometry::Places;
using reference::FieldMethod;
using test::Random;
using trv::Code;

constexpr Code fields[] = {Code::Mono8,  Code::BGR24,  Code::RGB24,  Code::XBGR32, Code::BGRX32,
                           Code::XRGB32, Code::RGBX32, Code::RGBA32, Code::YUV422};

struct Geometry {
    const trv::Format& format;
    FieldMethod method;
    uint32_t pixels, stride, lines, flag;

    void expect(const uint8_t* source, uint8_t* out) const {
        reference::field_to_frame(source, stride, lines, format.name, method, flag != 0, out);
    }
};

// Whole pixels, padding too; YUV422 by pairs of them.
Geometry any_geometry(const trv::Format& format, FieldMethod method, Random& random) {
    const uint32_t least = format.family == trv::Family::yuv ? 4 : 2;
    const uint32_t pixels = geometry::any_width(random, least);
    const uint32_t padding = random.one_in(2) ? 0 : random.below(40);
    return {format,
            method,
            pixels,
            (pixels + padding) * format.stored / 8,
            random.between(1, 5),
            random.below(3) * 7};
}

::testing::AssertionResult check(const Geometry& g, geometry::Pattern pattern, Places& places,
                                 Random& random) {
    const size_t field_size = size_t{g.stride} * g.lines;
    places.choose(field_size, 2 * field_size, random);
    geometry::paint(places.source, field_size, pattern, random);
    const test::Buffer from = geometry::wrap(g.format, g.pixels, g.lines, g.stride, places.source);
    const test::Buffer to =
        geometry::wrap(g.format, g.pixels, 2 * g.lines, g.stride, places.destination);
    return geometry::check(
               places, [&](uint8_t* out) { g.expect(places.source, out); },
               [&](const trv::Level& level) {
                   return trv::field_to_frame(level, from.handle(), to.handle(),
                                              static_cast<uint32_t>(g.method), g.flag);
               })
           << ": " << g.format.name << " method " << static_cast<int>(g.method) << " flag "
           << g.flag << " " << g.pixels << "x" << g.lines << " stride " << g.stride;
}

TEST(Geometry, FieldMethods) {
    Random random(test::seed() + 2);
    Places places;
    uint64_t drawn = 0;
    for (const Code code : fields)
        for (int method = 0; method < 4; ++method)
            for (unsigned i = 0; i < geometry::geometries(); ++i, ++drawn) {
                const Geometry g =
                    any_geometry(trv::format_of(code), static_cast<FieldMethod>(method), random);
                const auto pattern = static_cast<geometry::Pattern>(
                    i % static_cast<unsigned>(geometry::Pattern::count));
                ASSERT_TRUE(check(g, pattern, places, random));
            }
    geometry::expect_all_offsets(places, drawn);
}

}  // namespace
