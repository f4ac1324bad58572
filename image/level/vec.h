// The vector vocabulary of the level that is being compiled.
#pragma once

#if defined(TRV_LEVEL_v2)
#include "image/level/vec_v2_store.h"
#elif defined(TRV_LEVEL_v3)
#include "image/level/vec_v3_store.h"
#elif defined(TRV_LEVEL_v4)
#include "image/level/vec_v4_store.h"
#else
#error "no vector vocabulary for this level"
#endif

#include "image/level/vec_map.h"
#ifndef TRV_LEVEL_v4
#include "image/level/vec_words.h"
#endif

namespace trv::TRV_LEVEL {
namespace {

// 5-6-5 words of channels in bytes: the upper byte is made for all pixels, then the lower one.
TRV_INLINE void store_words(uint8_t* out, U8 top, U8 green, U8 bottom) {
    const U8 green_down = as<U8>(as<U16>(green) >> 5), green_up = as<U8>(as<U16>(green) << 3);
    const U8 bottom_down = as<U8>(as<U16>(bottom) >> 3);
    const U8 upper = select(splat<U8>(0xF8), top, green_down);
    const U8 lower = select(splat<U8>(0xE0), green_up, bottom_down);
    store_in_turn(out, lower, upper);
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
