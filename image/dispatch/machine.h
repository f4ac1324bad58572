// Which instruction-set levels this processor and its operating system run. The library chooses by
// it when it is loaded; the tool, which cannot ask the library, says by it what was chosen.
#pragma once

#include <cstddef>

namespace trv {

inline constexpr size_t level_count = 4;

// In rising order: scalar (any x86-64), v2 (SSE4.2), v3 (AVX2), v4 (AVX-512 with VBMI2).
inline constexpr const char* level_names[level_count] = {"scalar", "v2", "v3", "v4"};

// Index of the highest one. All below it run too.
unsigned highest_level();

}  // namespace trv
