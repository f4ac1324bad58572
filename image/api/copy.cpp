#include "image/api/copy.h"

#include <string.h>

#include "image/api/size_rule.h"

namespace trv {
namespace {

bool fits(const Job& job, const Format& format) {
    const Extent extent{uint64_t{job.source.width} * job.source.height, job.destination.bytes()};
    return trv::fits(format, format, extent);
}

// Source and destination may be the same memory, hence memmove, the C library's, which picks its
// own instruction set.
void copy_lines(const Job& job, size_t line, uint64_t destination_step) {
    const uint8_t* from = job.source.address;
    uint8_t* to = job.destination.address;
    for (uint32_t y = 0; y < job.source.height; ++y) {
        memmove(to, from, line);
        from += job.source.stride;
        to += destination_step;
    }
}

uint32_t copy_grey(const Job& job, const Format& format) {
    if (job.source.stride == job.destination.stride &&
        job.source.height == job.destination.height) {
        // Deliberate: no size check, and the padding goes along.
        memmove(job.destination.address, job.source.address, job.destination.bytes());
        return TRV_STATUS_OK;
    }
    if (!fits(job, format)) return TRV_STATUS_PARAMETER;
    const size_t line = size_t{job.source.width} * format.stored / 8;
    // Deliberate: a Mono8 line ends the source's width behind its start and then goes on by the
    // destination's padding, so lines shear when the two widths differ.
    const uint64_t step = format.code == Code::Mono8
                              ? line + job.destination.stride - job.destination.width
                              : job.destination.stride;
    copy_lines(job, line, step);
    return TRV_STATUS_OK;
}

uint32_t copy_colour(const Job& job, const Format& format) {
    if (!fits(job, format)) return TRV_STATUS_PARAMETER;
    if (job.source.stride == job.destination.stride)
        memmove(job.destination.address, job.source.address, job.source.bytes());
    else
        copy_lines(job, size_t{job.source.width} * 4, job.destination.stride);
    return TRV_STATUS_OK;
}

}  // namespace

uint32_t copy(const Job& job) {
    const Format& format = *find_format(job.source.format & 0xFF);
    return format.family == Family::grey ? copy_grey(job, format) : copy_colour(job, format);
}

}  // namespace trv
