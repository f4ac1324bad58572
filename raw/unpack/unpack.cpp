#include "raw/unpack/unpack.h"

#include "image/format/format.h"
#include "image/format/job.h"

namespace trv::raw {
namespace {

bool read_source(const Buffer& buffer, Side* side, uint32_t* packing_offset) {
    if (!buffer.present()) return false;
    side->address = buffer.address();
    side->width = buffer.width();
    side->height = buffer.height();
    side->stride = buffer.stride();
    *packing_offset = buffer.packing_offset();
    return side->address != nullptr && side->width != 0 && side->height != 0;
}

bool read_destination(const Buffer& buffer, Side* side) {
    if (!buffer.present()) return false;
    side->address = buffer.address();
    side->height = buffer.height();
    side->stride = buffer.stride();
    side->format = buffer.format();
    return side->address != nullptr && side->format != 0;
}

// A single line needs no stride to the next.
bool fits(const Packing& packing, const Job& job) {
    const uint64_t packed = line_bytes(packing, job.packing_offset, job.source.width);
    return (job.source.height == 1 || packed <= job.source.stride) &&
           uint64_t{job.source.width} * pixel_bytes <= job.destination.stride &&
           job.source.height <= job.destination.height;
}

// U and V of a pixel that begins in the middle of a group would belong to another one.
bool begins_aright(const Packing& packing, const Job& job) {
    return packing.target != Target::yuv422 || job.packing_offset % packing.group == 0;
}

// A picture without padding on either side is one long line. Groups must not straddle what were its
// lines.
bool is_one_line(const Packing& packing, const Job& job) {
    const uint64_t width = job.source.width;
    return width % packing.group == 0 && job.packing_offset % packing.group == 0 &&
           job.source.stride == width / packing.group * packing.bytes &&
           job.destination.stride == width * pixel_bytes && width * job.source.height <= UINT32_MAX;
}

void unpack_lines(const Level& level, const Packing& packing, const Job& job) {
    const bool one_line = is_one_line(packing, job);
    const uint32_t height = one_line ? 1 : job.source.height;
    Line line{};
    line.source = job.source.address;
    line.destination = job.destination.address;
    line.first = job.packing_offset % packing.group;
    line.width = one_line ? job.source.width * job.source.height : job.source.width;
    const Row row = level.unpack->row[packing.code - 1];
    for (uint32_t y = 0; y < height; ++y) {
        row(line);
        line.source += job.source.stride;
        line.destination += job.destination.stride;
    }
}

}  // namespace

bool goes_to(const Packing& packing, uint32_t code) {
    const Format* format = find_format(code & 0xFF);
    if (format == nullptr) return false;
    if (packing.target == Target::yuv422) return format->family == Family::yuv;
    const bool is_word = format->family == Family::grey || format->family == Family::bayer;
    return is_word && format->stored == 16 && format->significant == packing.bits;
}

uint32_t unpack(const Level& level, Handle source, uint32_t code, Handle destination) {
    Job job{};
    if (!read_source(Buffer(source), &job.source, &job.packing_offset) ||
        !read_destination(Buffer(destination), &job.destination))
        return TRV_STATUS_PARAMETER;
    const Packing* packing = find_packing(code);
    if (packing == nullptr || !goes_to(*packing, job.destination.format))
        return TRV_STATUS_UNSUPPORTED;
    if (!fits(*packing, job) || !begins_aright(*packing, job)) return TRV_STATUS_PARAMETER;
    unpack_lines(level, *packing, job);
    return TRV_STATUS_OK;
}

}  // namespace trv::raw
