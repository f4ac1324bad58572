// What a machine is like beyond its instruction set, as far as it decides how pictures are made and
// not what they are: every machine's policy gives the same bytes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace trv {

// How large pictures are made out of and into memory. Sizes are bytes of pictures, distances bytes
// that memory is fetched ahead of its use.
struct MemoryPolicy {
    uint64_t nearest_cache;  // what lies in it is converted faster without fetching
    uint64_t core_caches;    // a larger picture is mostly gone from them when it is done
    uint64_t last_cache;     // more than this comes from main memory
    uint32_t fetch_distance;
    uint32_t fetch_distance_far;  // from main memory, which takes longer

    constexpr bool outgrows_nearest(uint64_t bytes) const { return bytes > nearest_cache; }
    constexpr bool outgrows_core(uint64_t bytes) const { return bytes > core_caches; }
    constexpr bool outgrows_caches(uint64_t bytes) const { return bytes > last_cache; }

    // Where each pixel takes many steps; 0 for not at all.
    constexpr uint32_t distance(uint64_t bytes) const {
        if (!outgrows_nearest(bytes)) return 0;
        return outgrows_caches(bytes) ? fetch_distance_far : fetch_distance;
    }
};

struct Machine {
    const char* name;
    MemoryPolicy memory;
};

inline constexpr Machine machines[] = {
    {"any", {32 * 1024, 2 * 1024 * 1024, 32 * 1024 * 1024, 1024, 3072}},
};

inline constexpr size_t machine_count = sizeof machines / sizeof machines[0];

// Index of the one that describes this machine best.
constexpr unsigned best_machine() {
    return 0;
}

}  // namespace trv
