#include "image/direct/run.h"

#include "image/direct/row.h"
#include "image/simd/stream.h"

namespace trv {
namespace {

using direct::Reader;
using direct::Writer;

Reader deep_colour_reader(Code code) {
    switch (code) {
        case Code::BGR48:
        case Code::BGR48_10:
        case Code::BGR48_12:
        case Code::BGR48_14:
            return Reader::bgr48;
        case Code::RGBA64_10:
        case Code::RGBA64_12:
        case Code::RGBA64_14:
        case Code::RGBA64:
            return Reader::rgba64;
        default:
            return Reader::rgb48;
    }
}

Reader packed_reader(const Format& format) {
    if (format.code == Code::Mono12MP) return Reader::mono12mp;
    return format.significant == 10   ? Reader::mono10p
           : format.significant == 12 ? Reader::mono12p
                                      : Reader::mono14p;
}

Reader reader_of(const Format& format) {
    if (is_packed(format)) return packed_reader(format);
    switch (format.code) {
        case Code::Mono8:
            return Reader::mono8;
        case Code::BGR24:
            return Reader::bgr24;
        case Code::RGB24:
            return Reader::rgb24;
        case Code::BGRX32:
            return Reader::bgrx32;
        case Code::RGBA32:
            return Reader::rgba32;
        case Code::RGB30:
            return Reader::rgb30;
        case Code::YUV422:
            return Reader::yuv422;
        default:
            return format.stored == 16 ? Reader::mono16 : deep_colour_reader(format.code);
    }
}

Writer writer_of(const Format& format) {
    switch (format.code) {
        case Code::Mono8:
            return Writer::mono8;
        case Code::Mono32:
            return Writer::mono32;
        case Code::RGB15:
            return Writer::rgb15;
        case Code::RGB16:
            return Writer::rgb16;
        case Code::BGR15:
            return Writer::bgr15;
        case Code::BGR16:
            return Writer::bgr16;
        case Code::XBGR32:
            return Writer::xbgr32;
        case Code::BGRX32:
            return Writer::bgrx32;
        case Code::XRGB32:
            return Writer::xrgb32;
        case Code::RGBX32:
            return Writer::rgbx32;
        case Code::BGR24:
            return Writer::bgr24;
        case Code::RGB24:
            return Writer::rgb24;
        case Code::RGBA32:
            return Writer::rgba32;
        case Code::BGR48:
        case Code::BGR48_12:
            return Writer::bgr48;
        case Code::RGB48:
        case Code::RGB48_12:
            return Writer::rgb48;
        case Code::RGB30:
            return Writer::rgb30;
        case Code::BGR30:
            return Writer::bgr30;
        default:
            return Writer::word;
    }
}

// Mask of the flag in the 48-bit to word routes, for 15- and for 16-bit words: none or bit 0 from
// 16 bits, bit 3 or bit 4 from 12 bits.
unsigned flag_of(const Format& source, Writer writer) {
    const bool fifteen = writer == Writer::rgb15 || writer == Writer::bgr15;
    if (source.significant == 16) return fifteen ? 0 : 1;
    return fifteen ? 1 << 3 : 1 << 4;
}

// Unpacking goes on while a group begins inside the line.
uint32_t written_pixels(const Format& source, Writer writer, uint32_t width) {
    if (writer != Writer::word || !is_packed(source)) return width;
    return (width + source.group - 1) / source.group * source.group;
}

// The levels below AVX-512 store 4-byte pixels whole, pad included as they found it. The very last
// pad byte of a picture may lie in memory that nobody may touch, so its pixels are done one at a
// time.
void run_last_line(const direct::Row& row, const direct::Row& plain, direct::Line line,
                   const Format& source, Writer writer) {
    const uint32_t end = line.end;
    if (direct::writer_bytes(writer) == 4) {
        line.end = (end - 1) / source.group * source.group;
        row(line);
        line.begin = line.end;
        line.end = end;
        return plain(line);
    }
    row(line);
}

// A picture without padding on either side is one long line: fewer starts and ends, and a copy of
// the same format is a single block. Groups must not straddle what were its lines.
bool is_one_line(const Job& job, const Format& source, const Format& destination) {
    const uint64_t width = job.source.width;
    return width % source.group == 0 && job.packing_offset % source.group == 0 &&
           uint64_t{job.source.stride} * 8 == width * source.stored &&
           uint64_t{job.destination.stride} * 8 == width * destination.stored &&
           width * job.source.height <= UINT32_MAX;
}

direct::Memory memory_of(const MemoryPolicy& policy, const Job& job) {
    const uint64_t read = uint64_t{job.source.stride} * job.source.height;
    const uint64_t written = uint64_t{job.destination.stride} * job.source.height;
    // What is converted in place is in the caches already.
    return {policy.fetches_streams(written),
            policy.stores_past_caches(read, written) &&
                lie_apart(job.source.address, read, job.destination.address, written)};
}

}  // namespace

void convert_lines(const Level& level, const Job& job, const Format& source,
                   const Format& destination) {
    const Reader reader = reader_of(source);
    const Writer writer = writer_of(destination);
    const direct::Row row = level.direct->get(reader, writer);
    const bool one_line = is_one_line(job, source, destination);
    const uint32_t width = one_line ? job.source.width * job.source.height : job.source.width;
    const uint32_t height = one_line ? 1 : job.source.height;
    direct::Line line{};
    line.source = job.source.address;
    line.destination = job.destination.address;
    line.end = written_pixels(source, writer, width);
    line.shift = source.significant - 8u;
    line.flag = flag_of(source, writer);
    line.packing_offset = job.packing_offset;
    line.memory = memory_of(*level.memory, job);
    if (line.end == 0 || height == 0) return;
    for (uint32_t y = 1; y < height; ++y) {
        row(line);
        line.source += job.source.stride;
        line.destination += job.destination.stride;
    }
    run_last_line(row, scalar::direct_rows.get(reader, writer), line, source, writer);
    if (line.memory.past_caches) order_stores();
}

}  // namespace trv
