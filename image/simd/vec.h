// The vector operations of the level that is being compiled. Every level's header has the same
// ones, and says by these traits what comes cheap to it; kernels choose by them and by the width
// of a vector, sizeof(U8):
//   has_lane_masks         lanes are chosen, and stored, under a mask at no cost
//   has_double_shift       lanes in the middle of two vectors cost less than a load (`between`)
//   has_three_way_logic    any function of three bits is one step
//   has_byte_permutation   a result byte comes from any place of two vectors in one step
//   is_lowest              the lowest level with vectors: small code goes before speed
//
// `select` under a mask of lanes is there with lane masks only, `alternate` and the pixels of even
// and odd vectors without byte permutations only: templates ask the traits first.
#pragma once

#include TRV_VECTORS

#include "image/simd/words.h"

namespace trv::TRV_LEVEL {
namespace {

// The mean rounded down: the processor rounds it up.
template <typename V>
TRV_INLINE V floor_mean(V a, V b) {
    return rounded_down(ceil_mean(a, b), rounding(a, b));
}

}  // namespace
}  // namespace trv::TRV_LEVEL

// The next lower level, for lines too short for this level's vectors.
namespace trv {
namespace TRV_FALLBACK {}
namespace fallback = TRV_FALLBACK;
}  // namespace trv
