// Every direct route at every level against the reference.
#include "tests/reference/direct.h"
#include "image/exports/convert.h"
#include "image/format/routes.h"
#include "tests/harness.h"

namespace {

using test::Random;
using trv::Format;

struct Pair {
    const Format& from;
    const Format& to;
};

std::vector<Pair> direct_pairs() {
    std::vector<Pair> pairs;
    for (const Format& from : trv::formats)
        for (const Format& to : trv::formats) {
            const trv::RouteKind kind = trv::route_kind(from, to);
            if (kind == trv::RouteKind::direct || kind == trv::RouteKind::helper ||
                kind == trv::RouteKind::copy)
                pairs.push_back({from, to});
        }
    return pairs;
}

bool is_copy(const Pair& pair) {
    return trv::route_kind(pair.from, pair.to) == trv::RouteKind::copy;
}

struct Geometry {
    uint32_t width, height, packing_offset;
    uint32_t source_stride, destination_stride;
};

reference::Image image_of(const Pair& pair, const Geometry& g, const uint8_t* memory) {
    return {pair.from.name, memory, g.source_stride, g.width, g.height, g.packing_offset};
}

// Bytes that the rule needs after the last line of the source: the rest of a packed group, the
// samples that the packing offset pushes out, the pixel after an RGB30 line.
size_t bytes_behind_source(const Pair& pair, const Geometry& g) {
    const std::string from = pair.from.name, to = pair.to.name;
    if (from == "RGB30" && to == "RGB48") return 4;
    if (!reference::is_packed_name(from)) return 0;
    const uint32_t pixels = std::max(reference::written_width(image_of(pair, g, nullptr), to),
                                     g.width + g.packing_offset % pair.from.group);
    return trv::line_bytes(pair.from, pixels) - trv::line_bytes(pair.from, g.width);
}

size_t bytes_behind_destination(const Pair& pair, const Geometry& g) {
    return 2 * (reference::written_width(image_of(pair, g, nullptr), pair.to.name) - g.width);
}

std::string describe(const Pair& pair, const Geometry& g, unsigned level) {
    return std::string(": ") + pair.from.name + " to " + pair.to.name + " level " +
           trv::levels[level].name + " " + std::to_string(g.width) + "x" +
           std::to_string(g.height) + " strides " + std::to_string(g.source_stride) + ", " +
           std::to_string(g.destination_stride) + " packing offset " +
           std::to_string(g.packing_offset);
}

void compare(const Pair& pair, const Geometry& g, const std::vector<unsigned>& levels,
             Random& random) {
    test::Picture source(pair.from, g.width, g.height, g.source_stride,
                         bytes_behind_source(pair, g), test::any_side(random));
    test::Picture destination(pair.to, g.width, g.height, g.destination_stride,
                              bytes_behind_destination(pair, g), test::any_side(random));
    source.fill(random);
    destination.fill(random);
    const std::vector<uint8_t> background = destination.bytes();
    std::vector<uint8_t> expected = background;
    reference::convert(image_of(pair, g, source.memory.data()), pair.to.name, expected.data(),
                       g.destination_stride);
    const test::Buffer from =
        test::wrap(pair.from, g.width, g.height, source.memory.data(), source.memory.size() + 64,
                   g.source_stride, g.packing_offset);
    const test::Buffer to = test::wrap(destination);
    const trv::Machine other = test::any_machine(random);
    for (const unsigned level : levels)
        for (const trv::Machine& machine : {trv::machines[0], other}) {
            destination.put(background);
            ASSERT_EQ(trv::convert(trv::on_machine(trv::levels[level], machine), from.handle(),
                                   to.handle()),
                      0u)
                << describe(pair, g, level);
            ASSERT_TRUE(test::same_bytes(destination, expected)) << describe(pair, g, level);
        }
}

// Strides that hold the widest line the rule may touch, so that lines do not run into each other;
// and tight ones, where they do as stated.
Geometry any_geometry(const Pair& pair, uint32_t width, Random& random) {
    Geometry g{width, random.between(1, 6), 0, 0, 0};
    const bool takes_offset = reference::is_packed_name(pair.from.name) && pair.to.stored == 32;
    if (takes_offset) g.packing_offset = random.below(pair.from.group);
    g.source_stride =
        test::any_stride(random, trv::line_bytes(pair.from, width + g.packing_offset));
    g.destination_stride = test::any_stride(random, trv::line_bytes(pair.to, width));
    // Equal strides make a block copy of the same format's copies, padding and all; those have a
    // test of their own.
    if (is_copy(pair) && g.destination_stride == g.source_stride) ++g.destination_stride;
    return g;
}

TEST(Direct, EveryRouteEqualsTheReferenceOverRandomGeometries) {
    const auto levels = test::machine_levels();
    Random random(test::seed());
    for (const Pair& pair : direct_pairs())
        for (unsigned i = 0; i < test::rounds(25); ++i) {
            compare(pair, any_geometry(pair, test::any_width(random), random), levels, random);
            ASSERT_FALSE(HasFatalFailure());
        }
}

TEST(Direct, EveryWidthMeetsEveryTail) {
    const auto levels = test::machine_levels();
    Random random(test::seed() + 1);
    for (const Pair& pair : direct_pairs())
        for (uint32_t width = 1; width <= 140; width += random.between(1, 2)) {
            Geometry g = any_geometry(pair, width, random);
            g.height = 1;
            compare(pair, g, levels, random);
            ASSERT_FALSE(HasFatalFailure());
        }
}

TEST(Direct, PicturesConvertInPlaceWhereNoPixelGrows) {
    const auto levels = test::machine_levels();
    Random random(test::seed() + 2);
    for (const Pair& pair : direct_pairs()) {
        if (pair.to.stored > pair.from.stored || is_copy(pair)) continue;
        for (unsigned i = 0; i < test::rounds(12); ++i) {
            Geometry g = any_geometry(pair, test::any_width(random), random);
            // The helpers read at an even stride, so an odd one would let the lines drift apart.
            g.source_stride = g.destination_stride = (g.source_stride + 1) & ~1u;
            test::Picture picture(pair.from, g.width, g.height, g.source_stride,
                                  bytes_behind_source(pair, g), test::any_side(random));
            picture.fill(random);
            const std::vector<uint8_t> before = picture.bytes();
            std::vector<uint8_t> expected = before;
            reference::convert(image_of(pair, g, before.data()), pair.to.name, expected.data(),
                               g.source_stride);
            const test::Buffer to = test::wrap(pair.to, g.width, g.height, picture.memory.data(),
                                               picture.memory.size(), g.source_stride);
            const test::Buffer from = test::wrap(picture);
            const trv::Machine machine = test::any_machine(random);
            for (const unsigned level : levels) {
                picture.put(before);
                ASSERT_EQ(trv::convert(trv::on_machine(trv::levels[level], machine), from.handle(),
                                       to.handle()),
                          0u);
                ASSERT_TRUE(test::same_bytes(picture, expected)) << describe(pair, g, level);
            }
        }
    }
}

TEST(Direct, EveryYuvTriple) {
    // A line per U: 256 values of V by 256 of Y.
    const uint32_t width = 65536;
    std::vector<uint8_t> source(2 * width), expected(3 * width), got(3 * width);
    const test::Buffer from =
                           test::Buffer::wrap(std::span(source), width, 1, trvil::Format::YUV422),
                       to = test::Buffer::wrap(std::span(got), width, 1, trvil::Format::BGR24);
    for (unsigned u = 0; u < 256; ++u) {
        for (uint32_t x = 0; x < width; ++x) {
            source[2 * x] = static_cast<uint8_t>(x);
            source[2 * x + 1] = static_cast<uint8_t>(x % 2 == 0 ? u : x >> 8);
        }
        for (uint32_t x = 0; x < width; ++x) {
            const reference::Channels c = reference::yuv_pixel(source.data(), x, width);
            expected[3 * x] = static_cast<uint8_t>(c.blue);
            expected[3 * x + 1] = static_cast<uint8_t>(c.green);
            expected[3 * x + 2] = static_cast<uint8_t>(c.red);
        }
        for (unsigned level = 0; level <= trv::best_level(); ++level) {
            ASSERT_EQ(trv::convert(trv::levels[level], from.handle(), to.handle()), 0u);
            ASSERT_EQ(got, expected) << "U " << u << " level " << trv::levels[level].name;
        }
    }
}

TEST(Direct, EveryWordOfEveryDepth) {
    const auto levels = test::machine_levels();
    for (const Pair& pair : direct_pairs()) {
        if (pair.from.family != trv::Family::grey || pair.from.stored != 16) continue;
        const Geometry g{256, 256, 0, 512, 256u * pair.to.stored / 8 + 1};
        test::Picture source(pair.from, 256, 256, 512, 0, test::Guarded::At::back);
        for (uint32_t v = 0; v < 65536; ++v) reference::put16(source.memory.data() + 2 * v, v);
        test::Picture destination(pair.to, 256, 256, g.destination_stride, 0,
                                  test::Guarded::At::back);
        std::vector<uint8_t> expected = destination.bytes();
        reference::convert(image_of(pair, g, source.memory.data()), pair.to.name, expected.data(),
                           g.destination_stride);
        const test::Buffer from = test::wrap(source), to = test::wrap(destination);
        for (const unsigned level : levels) {
            ASSERT_EQ(trv::convert(trv::levels[level], from.handle(), to.handle()), 0u);
            ASSERT_TRUE(test::same_bytes(destination, expected)) << describe(pair, g, level);
        }
    }
}

// Beyond what any machine's caches hold; the destination begins and ends inside a cache line.
TEST(Direct, LargePicturesAreTheSameOnEveryMachine) {
    const uint32_t width = 4100, height = 3001;
    const char* const pairs[][2] = {{"Mono8", "BGR24"},
                                    {"BGR24", "BGRX32"},
                                    {"BGRX32", "BGRX32"},
                                    {"Mono16", "BGRX32"},
                                    {"BGR48", "BGR24"}};
    for (const auto& [from_name, to_name] : pairs) {
        const Format &from = test::format_named(from_name), &to = test::format_named(to_name);
        test::Picture source(from, width, height,
                             static_cast<uint32_t>(trv::line_bytes(from, width)), 0,
                             test::Guarded::At::back);
        test::Picture destination(to, width, height,
                                  static_cast<uint32_t>(trv::line_bytes(to, width)), 0,
                                  test::Guarded::At::back);
        Random random(test::seed() + 3);
        source.fill(random);
        destination.fill(random);
        const std::vector<uint8_t> background = destination.bytes();
        const test::Buffer in = test::wrap(source), out = test::wrap(destination);
        std::vector<uint8_t> expected;
        for (const unsigned level : test::machine_levels())
            for (const trv::Machine& machine : trv::machines) {
                destination.put(background);
                const trv::Level table = trv::on_machine(trv::levels[level], machine);
                ASSERT_EQ(trv::convert(table, in.handle(), out.handle()), 0u);
                if (expected.empty()) expected = destination.bytes();
                ASSERT_TRUE(destination.bytes() == expected)
                    << from_name << " to " << to_name << " level " << table.name << " on "
                    << machine.name;
            }
    }
}

}  // namespace
