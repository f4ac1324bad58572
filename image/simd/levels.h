// The instruction-set levels of this build and which of them this processor and its operating
// system run. The library chooses by it when it is loaded; the tool, which cannot ask the library,
// says by it what was chosen.
#pragma once

#include <cstddef>

namespace trv {

// In rising order: "scalar", which every processor runs, then the vector levels of the
// architecture.
inline constexpr const char* level_names[] = {
#define TRV_LEVEL_ROW(level) #level,
#include "image/simd/levels.inc"
};

inline constexpr size_t level_count = sizeof level_names / sizeof level_names[0];

// Index of the highest one. All below it run too.
unsigned highest_level();

}  // namespace trv
