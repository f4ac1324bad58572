// What the levels of x86-64 share.
#pragma once

#include <immintrin.h>

#include "image/simd/types.h"

namespace trv::TRV_LEVEL {
namespace {

// A value that stays in its register. Without this, compilers read a vector from memory again for
// every use of it, and loads that cross a cache line cost twice.
template <typename V>
TRV_INLINE V keep_in_register(V v) {
    __asm__("" : "+v"(v));
    return v;
}

}  // namespace
}  // namespace trv::TRV_LEVEL
