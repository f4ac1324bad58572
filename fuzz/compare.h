// One call at every level: the same status and the same bytes, and nothing outside of its memory.
#pragma once

#include <vector>

#include "fuzz/input.h"
#include "image/dispatch/level.h"
#include "tests/geometry/arena.h"

namespace fuzz {

inline constexpr size_t arena_bytes = 65536;

inline const geometry::Arena& source_arena() {
    static const geometry::Arena arena(arena_bytes);
    return arena;
}

inline const geometry::Arena& destination_arena() {
    static const geometry::Arena arena(arena_bytes);
    return arena;
}

// Against the guard page in front or after.
inline uint8_t* place(const geometry::Arena& arena, size_t size, bool at_back) {
    require(size <= arena.room(), "the arena is large enough");
    return at_back ? arena.at_back(size) : arena.at_front();
}

// `call(level)` writes `size` bytes at `out` and returns a status. Levels must agree; what fails
// must leave everything as it was.
template <typename Level, typename Call>
uint32_t compare_each(const Level* levels, unsigned best, uint8_t* out, size_t size,
                      const Call& call) {
    static thread_local std::vector<uint8_t> before, expected;
    before.assign(out, out + size);
    const uint32_t status = call(levels[0]);
    expected.assign(out, out + size);
    if (status != 0) require(expected == before, "a refusal writes nothing");
    for (unsigned level = 1; level <= best; ++level) {
        if (size != 0) std::memcpy(out, before.data(), size);
        require(call(levels[level]) == status, "levels return the same status");
        require(size == 0 || std::memcmp(out, expected.data(), size) == 0,
                "levels write the same bytes");
    }
    return status;
}

template <typename Call>
uint32_t compare_levels(uint8_t* out, size_t size, const Call& call) {
    return compare_each(trv::levels, trv::best_level(), out, size, call);
}

}  // namespace fuzz
