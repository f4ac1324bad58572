// The families' walks over lines at a level: with its loops, and by the policy of its machine.
#pragma once

#include "image/bayer/frame.h"
#include "image/direct/run.h"
#include "image/dispatch/level.h"

namespace trv {

inline void convert_lines(const Level& level, const Job& job, const Decision& decision,
                          LineRange lines) {
    const uint64_t read = uint64_t{job.source.stride} * job.source.height;
    const uint64_t written = uint64_t{job.destination.stride} * job.source.height;
    const MemoryPolicy& policy = *level.memory;
    // What is converted in place is in the caches already.
    const bool apart = lie_apart(job.source.address, read, job.destination.address, written);
    convert_lines(*level.direct, job, decision, lines,
                  {policy.fetches_streams(written), policy.loads_short(read, written),
                   policy.stores_past_caches(read, written) && apart, policy.copied_at_once});
}

namespace bayer {

// Stores under a mask, which keep the pad byte of four, may be slow where they cross cache lines,
// and for large pictures anywhere: loads that blend bring the destination into the core. Where
// masks cost nothing, any store that crosses cache lines takes half as long again, which counts
// until pictures come from main memory: there loads that do cost as much.
inline Memory memory_of(const MemoryPolicy& policy, uint64_t written, uint64_t all, bool masked) {
    const bool is_large = policy.outgrows_core(written), is_far = policy.outgrows_caches(all);
    return {.fetch_distance = policy.distance(all),
            .by_fallback = !policy.masks_freely && (masked ? is_large : is_far),
            .aligned_stores = policy.masks_freely ? !is_far : masked || is_large};
}

// `image.memory` is filled here.
inline void convert_lines(const Level& level, const Kernel& kernel, Image& image, LineRange lines) {
    const uint64_t written = uint64_t{image.destination_stride} * image.height;
    const uint64_t all = written + uint64_t{image.source_stride} * image.height;
    image.memory =
        memory_of(*level.memory, written, all, has(format_of(kernel.output), Channel::X));
    convert_lines(*level.bayer, kernel, image, lines);
}

}  // namespace bayer
}  // namespace trv
