// The instruction-set levels of this library's own loops; which of them runs is chosen when it is
// loaded.
#pragma once

#include "image/simd/levels.h"
#include "raw/unpack/row.h"

namespace trv::raw {

struct Level {
    const char* name;
    const Rows* unpack;
};

// In the order of their names. Every level gives the same bytes.
extern const Level levels[level_count];

// Index of the level that the exported functions use: the highest that this machine runs.
unsigned best_level();

}  // namespace trv::raw
