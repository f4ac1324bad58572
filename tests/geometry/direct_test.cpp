// Every direct route, helpers and copies included, at many random geometries.
//
// The reference is slow, so it converts one long line per pattern beforehand; a geometry's lines
// are pieces of it. What a piece cannot know, the pixels at the end of a line, is asked of the
// reference each time.
#include "tests/reference/direct.h"
#include "image/exports/convert.h"
#include "image/format/routes.h"
#include "tests/geometry/check.h"

namespace {

using geometry::Places;
using test::Random;
using trv::Format;

constexpr uint32_t pool_pixels = 640;
constexpr uint32_t longest = 300;

struct Route {
    const Format& from;
    const Format& to;
    trv::RouteKind kind;
};

std::vector<Route> routes() {
    std::vector<Route> list;
    for (const Format& from : trv::formats)
        for (const Format& to : trv::formats) {
            const trv::RouteKind kind = trv::route_kind(from, to);
            if (kind != trv::RouteKind::none && kind != trv::RouteKind::bayer)
                list.push_back({from, to, kind});
        }
    return list;
}

struct Shape {
    uint32_t width, height, packing_offset, source_stride, destination_stride;
};

// A long line of one pattern, and what becomes of it on zeros and on ones: where the two agree,
// the rule writes.
struct Pool {
    std::vector<uint8_t> source, on_zeros, on_ones;
};

Pool make_pool(const Route& route, geometry::Pattern pattern, Random& random) {
    Pool pool;
    pool.source.resize(trv::line_bytes(route.from, pool_pixels) + 64);
    geometry::paint(pool.source.data(), pool.source.size(), pattern, random);
    const size_t bytes = trv::line_bytes(route.to, pool_pixels);
    pool.on_zeros.assign(bytes, 0);
    pool.on_ones.assign(bytes, 0xFF);
    const reference::Image image{route.from.name, pool.source.data(), 0, pool_pixels, 1, 0};
    reference::convert(image, route.to.name, pool.on_zeros.data(), 0);
    reference::convert(image, route.to.name, pool.on_ones.data(), 0);
    return pool;
}

// Pixels whose source bytes all lie in their own piece, whatever is after it.
uint32_t pooled_pixels(const Route& route, const Shape& s) {
    const bool looks_ahead = route.from.group > 1 || route.from.code == trv::Code::RGB30;
    const uint32_t sure = looks_ahead ? s.width - std::min(s.width, 4u) : s.width;
    return sure / route.from.group * route.from.group;
}

struct Geometry {
    const Route& route;
    const Pool& pool;
    Shape shape;
    uint32_t first_pixel;  // of the pool, a different piece for every line
    std::string from, to;

    reference::Image image(const uint8_t* memory) const {
        reference::Image i{from,        memory,       shape.source_stride,
                           shape.width, shape.height, shape.packing_offset};
        if (route.kind == trv::RouteKind::helper) i.stride &= ~size_t{1};
        return i;
    }
    uint32_t written() const { return reference::written_width(image(nullptr), to); }
    uint32_t pool_start(uint32_t y) const {
        return (first_pixel + 16 * y) / 4 * 4 + shape.packing_offset;
    }

    // Up to the last sample that the rule reads: groups are read whole, RGB30 looks one pixel on.
    size_t source_bytes() const {
        uint32_t pixels = shape.width + shape.packing_offset;
        if (reference::is_packed_name(from)) pixels = std::max(pixels, written());
        if (from == "RGB30" && to == "RGB48") ++pixels;
        return image(nullptr).stride * (shape.height - 1) + trv::line_bytes(route.from, pixels);
    }
    size_t destination_bytes() const {
        return size_t{shape.destination_stride} * (shape.height - 1) +
               trv::line_bytes(route.to, written());
    }

    void fill_source(uint8_t* memory, size_t size) const {
        std::memcpy(memory, pool.source.data(), std::min(size, pool.source.size()));
        const size_t stride = image(nullptr).stride;
        for (uint32_t y = 0; y < shape.height; ++y) {
            const uint32_t start = pool_start(y) - shape.packing_offset;
            const size_t line = trv::line_bytes(route.from, shape.width + shape.packing_offset);
            std::memcpy(memory + y * stride,
                        pool.source.data() + trv::line_bytes(route.from, start), line);
        }
    }

    void expect(const uint8_t* source, uint8_t* out) const {
        const reference::Image whole = image(source);
        const size_t bytes = reference::pixel_bytes_of(to);
        const uint32_t pooled = pooled_pixels(route, shape);
        for (uint32_t y = 0; y < shape.height; ++y) {
            uint8_t* line = out + size_t{y} * shape.destination_stride;
            const size_t at = pool_start(y) * bytes;
            for (size_t i = 0; i < pooled * bytes; ++i) {
                const uint8_t keep = pool.on_zeros[at + i] ^ pool.on_ones[at + i];
                line[i] = static_cast<uint8_t>((line[i] & keep) | pool.on_zeros[at + i]);
            }
            for (uint32_t x = pooled; x < written(); ++x)
                reference::convert_pixel(whole, to, line + x * bytes, x, y);
        }
    }
};

Shape any_shape(const Route& route, Random& random) {
    Shape s{geometry::any_width(random, 1), random.between(1, 4), 0, 0, 0};
    if (reference::is_packed_name(route.from.name) && route.to.stored == 32)
        s.packing_offset = random.below(route.from.group);
    s.source_stride =
        test::any_stride(random, trv::line_bytes(route.from, s.width + s.packing_offset));
    s.destination_stride = test::any_stride(random, trv::line_bytes(route.to, s.width));
    // Equal strides make a copy one block, padding and all, which has a test of its own.
    if (route.kind == trv::RouteKind::copy && s.destination_stride == s.source_stride)
        ++s.destination_stride;
    return s;
}

::testing::AssertionResult check(const Geometry& g, Places& places, Random& random) {
    const Shape& s = g.shape;
    const size_t source_size = g.source_bytes();
    places.choose(source_size, g.destination_bytes(), random);
    g.fill_source(places.source, source_size);
    const test::Buffer from = geometry::wrap(g.route.from, s.width, s.height, s.source_stride,
                                             places.source, s.packing_offset);
    const test::Buffer to =
        geometry::wrap(g.route.to, s.width, s.height, s.destination_stride, places.destination);
    return geometry::check(
               places, [&](uint8_t* out) { g.expect(places.source, out); },
               [&](const trv::Level& level) {
                   return trv::convert(level, from.handle(), to.handle());
               })
           << ": " << g.from << " to " << g.to << " " << s.width << "x" << s.height << " strides "
           << s.source_stride << ", " << s.destination_stride << " packing offset "
           << s.packing_offset;
}

TEST(Geometry, DirectRoutes) {
    test::machine_levels();
    Random random(test::seed());
    Places places;
    uint64_t drawn = 0;
    for (const Route& route : routes()) {
        std::vector<Pool> pools;
        for (int p = 0; p < static_cast<int>(geometry::Pattern::count); ++p)
            pools.push_back(make_pool(route, static_cast<geometry::Pattern>(p), random));
        for (unsigned i = 0; i < geometry::geometries(); ++i, ++drawn) {
            const Geometry g{route,
                             pools[i % pools.size()],
                             any_shape(route, random),
                             random.below(pool_pixels - longest - 64),
                             route.from.name,
                             route.to.name};
            ASSERT_TRUE(check(g, places, random));
        }
    }
    geometry::expect_all_offsets(places, drawn);
}

}  // namespace
