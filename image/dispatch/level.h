// The instruction-set levels: one table of inner loops each, chosen once when the library is
// loaded.
//
// A level owns nothing but the inner loops of a line. Where lines begin and end, which of them are
// the first and the last, and what happens at their ends is scalar and exists once
// (image/bayer/frame.h, image/field/walk.h, image/direct).
#pragma once

#include <cstdint>

#include "image/bayer/span.h"
#include "image/direct/row.h"
#include "image/field/line.h"
#include "image/simd/levels.h"

namespace trv {

struct Level {
    const char* name;
    const bayer::Spans* bayer;
    const direct::Rows* direct;
    const field::Rows* field;
};

// In the order of their names. Every level gives the same bytes.
extern const Level levels[level_count];

// Index of the highest level that this processor and its operating system run.
unsigned best_level();

// Whether pictures of so many bytes are worth fetching ahead of their use: what lies in the nearest
// cache already is converted faster without.
constexpr bool outgrows_cache(uint64_t bytes) {
    return bytes > 32 * 1024;
}

// Whether most of them are gone from the caches of the core when the picture is done.
constexpr bool outgrows_core(uint64_t bytes) {
    return bytes > 2 * 1024 * 1024;
}

// How far ahead of its use memory is worth fetching where each pixel takes many steps and so many
// bytes are read and written, 0 for not at all: many may come from main memory, which takes longer.
constexpr uint32_t fetch_distance(uint64_t bytes) {
    if (!outgrows_cache(bytes)) return 0;
    return bytes > 32 * 1024 * 1024 ? 3072 : 1024;
}

// The level that the exported functions use: levels[best_level()].
const Level& current_level();

}  // namespace trv
