// Vector vocabulary of level v2: 16-byte vectors, SSE4.2.
#pragma once

#include <immintrin.h>

#include "image/simd/map.h"
#include "image/simd/vec_type.h"

namespace trv::TRV_LEVEL {
namespace {

using U8 = VecOf<uint8_t, 16>;
using U16 = VecOf<uint16_t, 16>;
using U32 = VecOf<uint32_t, 16>;
using I16 = VecOf<int16_t, 16>;

TRV_INLINE __m128i reg(U8 v) {
    return reinterpret_cast<__m128i>(v);
}
TRV_INLINE __m128i reg(U16 v) {
    return reinterpret_cast<__m128i>(v);
}
TRV_INLINE __m128i reg(U32 v) {
    return reinterpret_cast<__m128i>(v);
}

TRV_INLINE U8 min(U8 a, U8 b) {
    return as<U8>(_mm_min_epu8(reg(a), reg(b)));
}
TRV_INLINE U8 max(U8 a, U8 b) {
    return as<U8>(_mm_max_epu8(reg(a), reg(b)));
}
TRV_INLINE U16 min(U16 a, U16 b) {
    return as<U16>(_mm_min_epu16(reg(a), reg(b)));
}
TRV_INLINE U16 max(U16 a, U16 b) {
    return as<U16>(_mm_max_epu16(reg(a), reg(b)));
}
TRV_INLINE U8 ceil_mean(U8 a, U8 b) {
    return as<U8>(_mm_avg_epu8(reg(a), reg(b)));
}
TRV_INLINE U16 ceil_mean(U16 a, U16 b) {
    return as<U16>(_mm_avg_epu16(reg(a), reg(b)));
}

// One less, but not less than 0.
TRV_INLINE U8 less_one(U8 v) {
    return as<U8>(_mm_subs_epu8(reg(v), _mm_set1_epi8(1)));
}
TRV_INLINE U16 less_one(U16 v) {
    return as<U16>(_mm_subs_epu16(reg(v), _mm_set1_epi16(1)));
}

TRV_INLINE U16 shift_right(U16 v, unsigned count) {
    return as<U16>(_mm_srl_epi16(reg(v), _mm_cvtsi32_si128(static_cast<int>(count))));
}

// Bytes of each 16-byte part in another order; an order of 0x80 gives 0.
TRV_INLINE U8 shuffle(U8 v, U8 order) {
    return as<U8>(_mm_shuffle_epi8(reg(v), reg(order)));
}

// Samples in the middle of two vectors that begin one sample before and one behind them at `at`.
template <typename V>
TRV_INLINE V between(V, V, const uint8_t* at) {
    return held(load<V>(at));
}

constexpr bool has_double_shift = false;
constexpr bool has_lane_masks = false;

// Even words of the first, odd words of the second.
TRV_INLINE U16 alternate(U16 first, U16 second) {
    return as<U16>(_mm_blend_epi16(reg(first), reg(second), 0xAA));
}

// The low bytes of two vectors of words, in order.
TRV_INLINE U8 narrow(U16 a, U16 b) {
    const U16 low = splat<U16>(0xFF);
    return as<U8>(_mm_packus_epi16(reg(a & low), reg(b & low)));
}

// The low words of two vectors of dwords that hold no more, in order.
TRV_INLINE U16 narrow(U32 a, U32 b) {
    return as<U16>(_mm_packus_epi32(reg(a), reg(b)));
}

// Two vectors of signed words as bytes, in order, what lies outside 0 to 255 as 0 or 255.
TRV_INLINE U8 saturate(I16 a, I16 b) {
    return as<U8>(_mm_packus_epi16(as<__m128i>(a), as<__m128i>(b)));
}

// Upper halves of 32-bit products.
TRV_INLINE U16 mul_high(U16 a, U16 b) {
    return as<U16>(_mm_mulhi_epu16(reg(a), reg(b)));
}
TRV_INLINE I16 mul_high(I16 a, I16 b) {
    return as<I16>(_mm_mulhi_epi16(as<__m128i>(a), as<__m128i>(b)));
}

// The words of as many bytes, in an order of their own that `narrow` undoes.
struct WordHalves {
    U16 low, high;
    TRV_INLINE WordHalves operator+(const WordHalves& o) const {
        return {low + o.low, high + o.high};
    }
};

// Weight (a + b) of two vectors of bytes, Weight at most 127.
template <int Weight>
TRV_INLINE WordHalves weighted(U8 a, U8 b) {
    const auto weight = _mm_set1_epi8(Weight);
    return {as<U16>(_mm_maddubs_epi16(_mm_unpacklo_epi8(reg(a), reg(b)), weight)),
            as<U16>(_mm_maddubs_epi16(_mm_unpackhi_epi8(reg(a), reg(b)), weight))};
}

// Words of no more than 255 back to bytes.
TRV_INLINE U8 narrow(const WordHalves& words) {
    return as<U8>(_mm_packus_epi16(reg(words.low), reg(words.high)));
}

template <typename M, int First, int J>
constexpr Lanes<uint8_t, 16> gather_order(const Plan& p) {
    Lanes<uint8_t, 16> lanes{};
    for (int i = 0; i < 16; ++i) {
        const int at = place<M>(p, 16, First + i, J);
        lanes.v[i] = static_cast<uint8_t>(at < 0 ? 0x80 : at);
    }
    return lanes;
}

template <typename M, int First, int Room, int J, typename Pre>
TRV_INLINE U8 gather_load(const uint8_t* source, Pre pre) {
    constexpr Plan p = plan<M>(First, 16, 16, Room, Pre::words);
    if constexpr (J >= p.loads) return U8{};
    static constexpr auto order = gather_order<M, First, J>(p);
    const U8 bytes = pre(load<U8>(source + p.offset[J]));
    return as<U8>(_mm_shuffle_epi8(reg(bytes), reg(lanes<U8>(order))));
}

}  // namespace
}  // namespace trv::TRV_LEVEL
