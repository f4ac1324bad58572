#include "image/direct/run.h"

#include "image/direct/copy.h"
#include "image/simd/stream.h"

namespace trv {
namespace {

using direct::Line;
using direct::Row;

// Mask of the flag in the 48-bit to word routes, for 15- and for 16-bit words: none or bit 0 from
// 16 bits, bit 3 or bit 4 from 12 bits.
unsigned flag_of(const Format& source, const Format& destination) {
    const bool six_green = destination.fields[1].bits == 6;
    if (source.significant == 16) return six_green ? 1 : 0;
    return six_green ? 1 << 4 : 1 << 3;
}

// Unpacking goes on while a group begins inside the line.
uint32_t written_pixels(const Conversion& conversion, uint32_t width) {
    if (conversion.rule != Rule::unpack) return width;
    return (width + conversion.group - 1) / conversion.group * conversion.group;
}

struct Walk {
    const Conversion& conversion;
    Row row;
    Row plain;
    uint32_t source_step;
    uint32_t destination_step;
    uint32_t width;
    uint32_t lines;

    // Lines are changed where they are: a copy right after fields were stored waits for the stores.
    void run(Line& line, bool ends_picture) const {
        if (line.end == 0 || lines == 0) return;
        for (uint32_t y = 1; y < lines; ++y) {
            row(line);
            line.source += source_step;
            line.destination += destination_step;
        }
        run_last_line(line, ends_picture);
    }

    void run_last_line(Line& line, bool ends_picture) const {
        if (conversion.rule == Rule::unpack && !ends_picture)
            unpack_inside(line);
        else if (conversion.keeps_last())
            spare_last_pad(line);
        else
            row(line);
    }

    // The levels below AVX-512 store 4-byte pixels whole, pad included as they found it. The very
    // last pad byte may lie in memory that nobody may touch, or be the next line's, so its pixels
    // are done one at a time.
    void spare_last_pad(Line& line) const {
        const uint32_t end = line.end;
        line.end = (end - 1) / conversion.group * conversion.group;
        if (line.end != 0) row(line);
        line.begin = line.end;
        line.end = end;
        plain(line);
    }

    // Where another call makes the line that follows, what groups would write into that is left
    // out.
    void unpack_inside(Line& line) const {
        const uint32_t end = line.end, room = destination_step / 2;
        if (room >= width && room < end) line.end = room;
        row(line);
        if (line.end != end && destination_step % 2 != 0) unpack_half(line, room);
    }

    // The lower byte of a word, which is the last byte of the line's padding.
    void unpack_half(Line& line, uint32_t word) const {
        uint8_t group[8];
        uint8_t* const out = line.destination + destination_step - 1;
        const uint32_t inside = word % conversion.group;
        line.source += size_t{word - inside} * conversion.stored / 8;
        line.destination = group;
        line.begin = inside;
        line.end = inside + 1;
        plain(line);
        *out = group[2 * inside];
    }
};

// A picture without padding on either side is one long line: fewer starts and ends, and a copy of
// the same format is a single block. Groups must not straddle what were its lines.
bool is_one_line(const Job& job, const Decision& decision, uint32_t lines) {
    const Format& source = *decision.source;
    const uint64_t width = job.source.width;
    return width % source.group == 0 && job.packing_offset % source.group == 0 &&
           uint64_t{job.source.stride} * 8 == width * source.stored &&
           uint64_t{job.destination.stride} * 8 == width * decision.destination->stored &&
           width * lines <= UINT32_MAX;
}

void convert_pixels(const direct::Rows& rows, const Job& job, const Decision& decision,
                    LineRange lines, const direct::Memory& memory) {
    const Conversion& conversion = routing::table.conversions[decision.route.row];
    const uint32_t count = lines.last - lines.first;
    const bool one_line = is_one_line(job, decision, count);
    const Walk walk{
        conversion, rows.row[decision.route.row], scalar::direct_rows.row[decision.route.row],
        // The helpers step their source in 16-bit units: an odd stride loses its last
        // byte.
        decision.kind == RouteKind::helper ? job.source.stride & ~1u : job.source.stride,
        job.destination.stride, one_line ? job.source.width * count : job.source.width,
        one_line && count != 0 ? 1 : count};
    Line line{};
    line.source = job.source.address + size_t{walk.source_step} * lines.first;
    line.destination = job.destination.address + size_t{walk.destination_step} * lines.first;
    line.end = written_pixels(conversion, walk.width);
    line.shift = decision.source->significant - 8u;
    line.flag = flag_of(*decision.source, *decision.destination);
    line.packing_offset = job.packing_offset;
    line.memory = memory;
    walk.run(line, lines.last == job.source.height);
    if (memory.past_caches) order_stores();
}

}  // namespace

void convert_lines(const direct::Rows& rows, const Job& job, const Decision& decision,
                   LineRange lines, const direct::Memory& memory) {
    if (decision.kind == RouteKind::copy)
        copy_lines(job, decision, lines, memory);
    else
        convert_pixels(rows, job, decision, lines, memory);
}

}  // namespace trv
