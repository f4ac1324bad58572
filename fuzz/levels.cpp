// The inner loops themselves: every table entry of every level against the scalar one, on any part
// of a line, between guard pages.
#include "fuzz/compare.h"
#include "image/format/format.h"

namespace {

using fuzz::Input;
namespace bayer = trv::bayer;
namespace field = trv::field;

struct Memory {
    uint8_t* source;
    uint8_t* out;
    size_t size;
};

Memory memory_of(Input& in, size_t source_size, size_t size) {
    const uint8_t sides = in.byte();
    const Memory m{fuzz::place(fuzz::source_arena(), source_size, sides & 1),
                   fuzz::place(fuzz::destination_arena(), size, sides & 2), size};
    in.fill(m.source, source_size);
    std::memset(m.out, 0x5A + (sides & 4), size);
    return m;
}

void compare_direct(Input& in) {
    const uint32_t row = in.below(static_cast<uint32_t>(trv::routing::row_count));
    const trv::Conversion& c = trv::routing::table.conversions[row];
    const bool packed =
        c.storage == trv::Storage::packed_least || c.storage == trv::Storage::packed_most;
    const uint32_t end = 1 + (in.one_in(4) ? in.below(400) : in.below(70));
    trv::direct::Line line{};
    line.memory = {in.one_in(2), in.one_in(2), in.one_in(2)};
    line.end = c.rule == trv::Rule::unpack ? (end + c.group - 1) / c.group * c.group : end;
    line.shift = 2 * in.between(1, 4);  // 10, 12, 14 or 16 bits
    line.flag = in.below(5);
    line.packing_offset = packed ? in.below(c.group) : 0;
    // Past the last pixel: the rest of its group, or one RGB30 pixel.
    const size_t pixels = (line.end + line.packing_offset + c.group - 1u) / c.group * c.group +
                          (c.storage == trv::Storage::fields);
    const Memory m =
        memory_of(in, (pixels * c.stored + 7) / 8, size_t{line.end} * c.destination_bytes);
    line.source = m.source;
    line.destination = m.out;
    fuzz::compare_levels(m.out, m.size, [&](const trv::Level& level) {
        level.direct->row[row](line);
        return 0u;
    });
}

void compare_bayer(Input& in) {
    constexpr size_t pixel_bytes[] = {2, 3, 4};
    const auto depth = static_cast<bayer::Depth>(in.below(bayer::depth_count));
    const auto layout = static_cast<bayer::SpanLayout>(in.below(bayer::layout_count));
    const auto rule = static_cast<bayer::SpanRule>(in.below(bayer::rule_count));
    const bayer::LineKind kind{in.one_in(2), in.one_in(2)};
    const size_t pairs = in.one_in(4) ? in.below(200) : in.below(40);
    const size_t stride = (2 * pairs + 2) * (depth == bayer::depth8 ? 1 : 2);
    const Memory m = memory_of(in, 3 * stride, (2 * pairs + 2) * pixel_bytes[layout]);
    const uint8_t lines = in.byte();
    const auto line_at = [&](unsigned y) { return m.source + y * stride; };
    // On an edge line both neighbours are the same.
    const unsigned below = rule == bayer::edge_means || lines & 1 ? 0 : 2;
    const bayer::Lines line{line_at(0),
                            line_at(1),
                            line_at(below),
                            m.out,
                            pairs,
                            depth == bayer::depth8 ? 0 : in.between(1, 8),
                            {in.below(4) * 1024, in.one_in(2), in.one_in(2)}};
    fuzz::compare_levels(m.out, m.size, [&](const trv::Level& level) {
        level.bayer->get(depth, layout, rule, kind)(line);
        return 0u;
    });
}

void compare_field(Input& in) {
    constexpr size_t distance[] = {1, 3, 4, 4};
    constexpr uint32_t average = 2 * field::neighbour_count, copy = average + 1;
    const uint32_t choice = in.below(copy + 1);
    const auto neighbour = static_cast<field::Neighbour>(choice % field::neighbour_count);
    const size_t edge = distance[neighbour];
    size_t count = in.one_in(4) ? in.below(600) : in.below(150);
    if (neighbour == field::yuv) count = count / 4 * 4;
    const size_t stride = count + 2 * edge;
    const bool is_pass = choice < average;
    const uint32_t lines = is_pass ? in.between(1, 6) : 1;
    const size_t size = is_pass ? (2 * lines - 1) * stride + count : count;
    const Memory m = memory_of(in, (lines + 1) * stride, size);
    const uint8_t* from = m.source + edge;
    const bool fetch_ahead = in.one_in(2);
    fuzz::compare_levels(m.out, m.size, [&](const trv::Level& level) {
        const field::Rows& rows = *level.field;
        if (is_pass) {
            const auto& makers = choice < field::neighbour_count ? rows.bilinear : rows.median;
            makers[neighbour]({from, m.out, stride, count, lines, fetch_ahead});
        } else {
            const field::Row row = choice == average ? rows.average : rows.copy;
            row(from, from + stride, m.out, count, fetch_ahead);
        }
        return 0u;
    });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    switch (in.below(3)) {
        case 0:
            compare_direct(in);
            break;
        case 1:
            compare_bayer(in);
            break;
        default:
            compare_field(in);
    }
    return 0;
}
