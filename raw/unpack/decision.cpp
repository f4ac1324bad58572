#include "raw/unpack/decision.h"

#include "image/format/format.h"
#include "trvil/status.h"

namespace trv::raw {
namespace {

using enum UnpackRefusal;

UnpackRefusal read_source(const Buffer& buffer, Job* job) {
    Side& side = job->source;
    if (!buffer.present()) return no_source;
    side.address = buffer.address();
    side.width = buffer.width();
    side.height = buffer.height();
    side.stride = buffer.stride();
    job->packing_offset = buffer.packing_offset();
    if (side.address == nullptr) return no_source_memory;
    return side.width == 0 || side.height == 0 ? no_source_pixels : none;
}

UnpackRefusal read_destination(const Buffer& buffer, Side* side) {
    if (!buffer.present()) return no_destination;
    side->address = buffer.address();
    side->height = buffer.height();
    side->stride = buffer.stride();
    side->format = buffer.format();
    if (side->address == nullptr) return no_destination_memory;
    return side->format == 0 ? no_destination_format : none;
}

UnpackRefusal check(const UnpackDecision& d) {
    const Side &from = d.job.source, &to = d.job.destination;
    if (d.packing == nullptr) return no_packing;
    if (!goes_to(*d.packing, to.format)) return other_samples;
    const UnpackRefusal of_source = check_source(d);
    if (of_source == short_source_stride) return of_source;
    if (d.line() > to.stride) return short_destination_stride;
    if (from.height > to.height) return too_few_lines;
    return of_source;
}

}  // namespace

UnpackRefusal check_source(const UnpackDecision& d) {
    // A single line needs no stride to the next.
    if (d.job.source.height > 1 && d.packed_line() > d.job.source.stride)
        return short_source_stride;
    // U and V of a pixel that begins in the middle of a group would belong to another one.
    const bool begins_aright =
        d.packing->target != Target::yuv422 || d.job.packing_offset % d.packing->group == 0;
    return begins_aright ? none : inside_group;
}

bool goes_to(const Packing& packing, uint32_t code) {
    const Format* format = find_format(code & 0xFF);
    if (format == nullptr) return false;
    if (packing.target == Target::yuv422) return format->family == Family::yuv;
    const bool is_word = format->family == Family::grey || format->family == Family::bayer;
    return is_word && format->stored == 16 && format->significant == packing.bits;
}

UnpackDecision decide_unpack(Handle source, uint32_t packing, Handle destination) {
    UnpackDecision d{};
    d.refusal = read_source(Buffer(source), &d.job);
    if (d.refusal == none) d.refusal = read_destination(Buffer(destination), &d.job.destination);
    if (d.refusal != none) return d;
    d.packing = find_packing(packing);
    d.refusal = check(d);
    return d;
}

uint32_t status_of(UnpackRefusal refusal) {
    switch (refusal) {
        case none:
            return TRV_STATUS_OK;
        case no_packing:
        case other_samples:
            return TRV_STATUS_UNSUPPORTED;
        default:
            return TRV_STATUS_PARAMETER;
    }
}

}  // namespace trv::raw
