// The instruction-set levels: one table of inner loops each, chosen once when the library is
// loaded.
//
// A level owns nothing but the inner loops of a line. Where lines begin and end, which of them are
// the first and the last, and what happens at their ends is scalar and exists once
// (image/bayer/frame.h, image/field/walk.h, image/api).
#pragma once

#include <cstddef>
#include <cstdint>

#include "image/api/direct.h"
#include "image/bayer/span.h"
#include "image/field/line.h"

namespace trv {

struct Level {
    const char* name;
    const bayer::Spans* bayer;
    const direct::Rows* direct;
    const field::Rows* field;
};

inline constexpr size_t level_count = 4;

// In rising order: scalar (any x86-64), v2 (SSE4.2), v3 (AVX2), v4 (AVX-512 with VBMI2). Every
// level gives the same bytes.
extern const Level levels[level_count];

// Index of the highest level that this processor and its operating system run.
unsigned best_level();

// Whether pictures of so many bytes are worth fetching ahead of their use: what lies in the nearest
// cache already is converted faster without.
constexpr bool outgrows_cache(uint64_t bytes) {
    return bytes > 32 * 1024;
}

// The level that the exported functions use: levels[best_level()].
const Level& current_level();

}  // namespace trv
