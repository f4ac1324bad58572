#include "image/direct/copy.h"

#include <string.h>

#include "image/simd/stream.h"

namespace trv {
namespace {

// Source and destination may be the same memory, hence memmove, the C library's, which picks its
// own instruction set. Much at once it copies slower on some cores than the same in parts.
void copy_block(uint8_t* to, const uint8_t* from, size_t count, const direct::Memory& memory) {
    if (!lie_apart(from, count, to, count)) {
        memmove(to, from, count);
    } else if (memory.past_caches) {
        copy_past_caches(to, from, count);
        order_stores();
    } else {
        for (; count > memory.copied_at_once; count -= memory.copied_at_once) {
            memcpy(to, from, memory.copied_at_once);
            to += memory.copied_at_once;
            from += memory.copied_at_once;
        }
        memcpy(to, from, count);
    }
}

}  // namespace

void copy_lines(const Job& job, const Decision& decision, LineRange lines,
                const direct::Memory& memory) {
    const size_t first = lines.first, count = lines.last - lines.first;
    const uint8_t* from = job.source.address + first * job.source.stride;
    if (is_block(job, decision)) {
        copy_block(job.destination.address + first * job.destination.stride, from,
                   count * job.source.stride, memory);
        return;
    }
    const uint64_t step = copy_step(job, decision);
    const uint64_t line = line_bytes(*decision.source, job.source.width);
    uint8_t* to = job.destination.address + first * step;
    for (size_t y = 0; y < count; ++y) {
        memmove(to, from, line);
        from += job.source.stride;
        to += step;
    }
}

}  // namespace trv
