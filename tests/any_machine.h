// Memory policies that no machine has, drawn at random or by a fuzzer.
#pragma once

#include "image/dispatch/machine.h"

namespace test {

// A machine on which small pictures are made in the ways of large ones, or large ones in those of
// small ones, in any mixture.
template <typename Draws>
trv::Machine any_machine(Draws& random) {
    const auto size = [&] { return random.one_in(2) ? uint64_t{0} : UINT64_MAX; };
    return {"other",
            {.nearest_cache = size(),
             .core_caches = size(),
             .last_cache = size(),
             .fetch_distance = 64,
             .fetch_distance_far = 448,
             .streams_from = size(),
             .fetches_fields = random.one_in(2),
             .field_lines_at_once = random.between(1, 5),
             .short_loads_from = size(),
             .past_caches_from = size(),
             .copied_at_once = random.between(1, 4000),
             .masks_freely = random.one_in(2)}};
}

}  // namespace test
