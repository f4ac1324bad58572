// What a machine is like beyond its instruction set, as far as it decides how pictures are made and
// not what they are: every machine's policy gives the same bytes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace trv {

// How large pictures are made out of and into memory. Sizes are bytes, of what is written or of
// what is read and written together, as each member says; distances are bytes that memory is
// fetched ahead of its use.
struct MemoryPolicy {
    uint64_t nearest_cache;       // what lies in it is converted faster without fetching
    uint64_t core_caches;         // a larger picture is mostly gone from them when it is done
    uint64_t last_cache;          // what moves more than this comes from main memory
    uint32_t fetch_distance;      // 0 for not at all
    uint32_t fetch_distance_far;  // from main memory, which takes longer

    // Direct routes and fields take few steps per pixel, and some cores fetch for them by
    // themselves.
    uint64_t
        streams_from;  // where more is written, both streams of a direct route are fetched ahead
    bool fetches_fields;
    uint32_t field_lines_at_once;  // of a field, that interpolate lines of the frame in one pass
    // Where more is read and written, loads of whole cache lines that begin inside one are slower
    // than their halves.
    uint64_t short_loads_from;
    // What reads and writes as much is stored past the caches, where all bytes are written: none of
    // them would be in the caches when they are read.
    uint64_t past_caches_from;
    uint64_t copied_at_once;  // by one call of the C library

    // Whether stores under a mask cost as much as others, wherever they begin.
    bool masks_freely;

    constexpr bool outgrows_nearest(uint64_t bytes) const { return bytes > nearest_cache; }
    constexpr bool outgrows_core(uint64_t bytes) const { return bytes > core_caches; }
    constexpr bool outgrows_caches(uint64_t bytes) const { return bytes > last_cache; }

    constexpr bool fetches_streams(uint64_t written) const { return written > streams_from; }
    // Where much more is written than read, the stores count.
    constexpr bool loads_short(uint64_t read, uint64_t written) const {
        return written <= 2 * read && read + written > short_loads_from;
    }
    // What is made waits in the nearest cache meanwhile, which holds up the reading: no gain where
    // more is read than written.
    constexpr bool stores_past_caches(uint64_t read, uint64_t written) const {
        return read <= written && read + written >= past_caches_from;
    }

    // Lines that lie whole pages apart are at the same places of the nearest cache, where more of
    // them do not find room.
    constexpr uint32_t field_lines(uint64_t stride) const {
        constexpr uint64_t page = 4096;
        constexpr uint32_t few = 2;
        return stride % page == 0 && field_lines_at_once > few ? few : field_lines_at_once;
    }

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

inline constexpr uint64_t KiB = 1024, MiB = 1024 * KiB;

// As measured on a server core of Intel's.
constexpr MemoryPolicy any_policy() {
    return {.nearest_cache = 32 * KiB,
            .core_caches = 2 * MiB,
            .last_cache = 32 * MiB,
            .fetch_distance = 1024,
            .fetch_distance_far = 3072,
            .streams_from = 32 * KiB,
            .fetches_fields = true,
            .field_lines_at_once = 2,
            .short_loads_from = UINT64_MAX,
            .past_caches_from = UINT64_MAX,
            .copied_at_once = UINT64_MAX,
            .masks_freely = false};
}

// As measured on a server core of AMD's, which fetches by itself what is read and written in order,
// and whose last cache, of so many bytes, others use too.
constexpr MemoryPolicy amd_policy(uint64_t last_cache) {
    const uint64_t own = last_cache / 2 < 32 * MiB ? last_cache / 2 : 32 * MiB;
    return {.nearest_cache = 2 * MiB,
            .core_caches = 2 * MiB,
            .last_cache = own,
            .fetch_distance = 0,
            .fetch_distance_far = 3072,
            .streams_from = UINT64_MAX,
            .fetches_fields = false,
            .field_lines_at_once = 4,
            .short_loads_from = own,
            .past_caches_from = last_cache / 2 * 3,
            .copied_at_once = 256 * KiB,
            .masks_freely = true};
}

// By index; the caches of the second are those of the machine it was measured on.
inline constexpr Machine machines[] = {
    {"any", any_policy()},
    {"amd", amd_policy(32 * MiB)},
};

inline constexpr size_t machine_count = sizeof machines / sizeof machines[0];

// The one that describes this machine best, with its caches. Chosen when the library is loaded.
const Machine& this_machine();

}  // namespace trv
