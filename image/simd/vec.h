// The vector vocabulary of the level that is being compiled.
#pragma once

#if defined(TRV_LEVEL_v2)
#include "image/simd/x86/v2_store.h"
#elif defined(TRV_LEVEL_v3)
#include "image/simd/x86/v3_store.h"
#elif defined(TRV_LEVEL_v4)
#include "image/simd/x86/v4_store.h"
#else
#error "no vector vocabulary for this level"
#endif

#include "image/simd/vec_map.h"
#ifndef TRV_LEVEL_v4
#include "image/simd/vec_words.h"
#endif

namespace trv::TRV_LEVEL {
namespace {

// The mean rounded down: the processor rounds it up.
template <typename V>
TRV_INLINE V floor_mean(V a, V b) {
    return rounded_down(ceil_mean(a, b), rounding(a, b));
}

}  // namespace
}  // namespace trv::TRV_LEVEL

// Lines too short for this level's vectors go to the next one down.
namespace trv {
namespace scalar {}
namespace v2 {}
namespace v3 {}
#if defined(TRV_LEVEL_v2)
namespace narrower = scalar;
#elif defined(TRV_LEVEL_v3)
namespace narrower = v2;
#else
namespace narrower = v3;
#endif
}  // namespace trv
