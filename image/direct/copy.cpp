#include "image/direct/copy.h"

#include <string.h>

#include "image/simd/stream.h"

namespace trv {
namespace {

// Source and destination may be the same memory, hence memmove, the C library's, which picks its
// own instruction set. Much at once it copies slower on some cores than the same in parts.
void copy_bytes(const MemoryPolicy& policy, uint8_t* to, const uint8_t* from, size_t count) {
    if (!lie_apart(from, count, to, count)) {
        memmove(to, from, count);
    } else if (policy.stores_past_caches(count, count)) {
        copy_past_caches(to, from, count);
        order_stores();
    } else {
        for (; count > policy.copied_at_once; count -= policy.copied_at_once) {
            memcpy(to, from, policy.copied_at_once);
            to += policy.copied_at_once;
            from += policy.copied_at_once;
        }
        memcpy(to, from, count);
    }
}

void copy_lines(const Job& job, size_t line, uint64_t destination_step) {
    const uint8_t* from = job.source.address;
    uint8_t* to = job.destination.address;
    for (uint32_t y = 0; y < job.source.height; ++y) {
        memmove(to, from, line);
        from += job.source.stride;
        to += destination_step;
    }
}

void copy_grey(const MemoryPolicy& policy, const Job& job, const Decision& decision) {
    if (is_grey_block(job, decision))
        return copy_bytes(policy, job.destination.address, job.source.address,
                          job.destination.bytes());
    const Format& format = *decision.source;
    const size_t line = size_t{job.source.width} * format.stored / 8;
    // Deliberate: a Mono8 line ends the source's width behind its start and then goes on by the
    // destination's padding, so lines shear when the two widths differ.
    const uint64_t step = format.code == Code::Mono8
                              ? line + job.destination.stride - job.destination.width
                              : job.destination.stride;
    copy_lines(job, line, step);
}

void copy_colour(const MemoryPolicy& policy, const Job& job) {
    if (job.source.stride == job.destination.stride)
        copy_bytes(policy, job.destination.address, job.source.address, job.source.bytes());
    else
        copy_lines(job, size_t{job.source.width} * 4, job.destination.stride);
}

}  // namespace

void copy(const MemoryPolicy& policy, const Job& job, const Decision& decision) {
    if (decision.source->family == Family::grey)
        copy_grey(policy, job, decision);
    else
        copy_colour(policy, job);
}

}  // namespace trv
