// Vector vocabulary of level v3: 32-byte vectors, AVX2.
#pragma once

#include <immintrin.h>

#include "image/simd/map.h"
#include "image/simd/vec_type.h"

namespace trv::TRV_LEVEL {
namespace {

using U8 = VecOf<uint8_t, 32>;
using U16 = VecOf<uint16_t, 32>;
using U32 = VecOf<uint32_t, 32>;
using I16 = VecOf<int16_t, 32>;

TRV_INLINE __m256i reg(U8 v) {
    return reinterpret_cast<__m256i>(v);
}
TRV_INLINE __m256i reg(U16 v) {
    return reinterpret_cast<__m256i>(v);
}
TRV_INLINE __m256i reg(U32 v) {
    return reinterpret_cast<__m256i>(v);
}

TRV_INLINE U8 min(U8 a, U8 b) {
    return as<U8>(_mm256_min_epu8(reg(a), reg(b)));
}
TRV_INLINE U8 max(U8 a, U8 b) {
    return as<U8>(_mm256_max_epu8(reg(a), reg(b)));
}
TRV_INLINE U16 min(U16 a, U16 b) {
    return as<U16>(_mm256_min_epu16(reg(a), reg(b)));
}
TRV_INLINE U16 max(U16 a, U16 b) {
    return as<U16>(_mm256_max_epu16(reg(a), reg(b)));
}
TRV_INLINE U8 ceil_mean(U8 a, U8 b) {
    return as<U8>(_mm256_avg_epu8(reg(a), reg(b)));
}
TRV_INLINE U16 ceil_mean(U16 a, U16 b) {
    return as<U16>(_mm256_avg_epu16(reg(a), reg(b)));
}

// One less, but not less than 0.
TRV_INLINE U8 less_one(U8 v) {
    return as<U8>(_mm256_subs_epu8(reg(v), _mm256_set1_epi8(1)));
}
TRV_INLINE U16 less_one(U16 v) {
    return as<U16>(_mm256_subs_epu16(reg(v), _mm256_set1_epi16(1)));
}

TRV_INLINE U16 shift_right(U16 v, unsigned count) {
    return as<U16>(_mm256_srl_epi16(reg(v), _mm_cvtsi32_si128(static_cast<int>(count))));
}

// Bytes of each 16-byte part in another order; an order of 0x80 gives 0.
TRV_INLINE U8 shuffle(U8 v, U8 order) {
    return as<U8>(_mm256_shuffle_epi8(reg(v), reg(order)));
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
    return as<U16>(_mm256_blend_epi16(reg(first), reg(second), 0xAA));
}

// The low bytes of two vectors of words, in order.
TRV_INLINE U8 narrow(U16 a, U16 b) {
    const U16 low = splat<U16>(0xFF);
    const __m256i halves = _mm256_packus_epi16(reg(a & low), reg(b & low));
    return as<U8>(_mm256_permute4x64_epi64(halves, 0xD8));
}

// The low words of two vectors of dwords that hold no more, in order.
TRV_INLINE U16 narrow(U32 a, U32 b) {
    return as<U16>(_mm256_permute4x64_epi64(_mm256_packus_epi32(reg(a), reg(b)), 0xD8));
}

// Two vectors of signed words as bytes, in order, what lies outside 0 to 255 as 0 or 255.
TRV_INLINE U8 saturate(I16 a, I16 b) {
    const __m256i halves = _mm256_packus_epi16(as<__m256i>(a), as<__m256i>(b));
    return as<U8>(_mm256_permute4x64_epi64(halves, 0xD8));
}

// Upper halves of 32-bit products.
TRV_INLINE U16 mul_high(U16 a, U16 b) {
    return as<U16>(_mm256_mulhi_epu16(reg(a), reg(b)));
}
TRV_INLINE I16 mul_high(I16 a, I16 b) {
    return as<I16>(_mm256_mulhi_epi16(as<__m256i>(a), as<__m256i>(b)));
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
    const auto weight = _mm256_set1_epi8(Weight);
    return {as<U16>(_mm256_maddubs_epi16(_mm256_unpacklo_epi8(reg(a), reg(b)), weight)),
            as<U16>(_mm256_maddubs_epi16(_mm256_unpackhi_epi8(reg(a), reg(b)), weight))};
}

// Words of no more than 255 back to bytes.
TRV_INLINE U8 narrow(const WordHalves& words) {
    return as<U8>(_mm256_packus_epi16(reg(words.low), reg(words.high)));
}

template <typename M, int First, int J>
constexpr Lanes<uint8_t, 32> gather_order(const Plan& low, const Plan& high) {
    Lanes<uint8_t, 32> lanes{};
    for (int i = 0; i < 32; ++i) {
        const int at = place<M>(i < 16 ? low : high, 16, First + i, J);
        lanes.v[i] = static_cast<uint8_t>(at < 0 ? 0x80 : at);
    }
    return lanes;
}

template <typename M, int First, int Room, int J, typename Pre>
TRV_INLINE U8 gather_load(const uint8_t* source, Pre pre) {
    constexpr Plan low = plan<M>(First, 16, 16, Room, Pre::words);
    constexpr Plan high = plan<M>(First + 16, 16, 16, Room, Pre::words);
    if constexpr (J >= low.loads && J >= high.loads) return U8{};
    static constexpr auto order = gather_order<M, First, J>(low, high);
    const auto half = [&](const Plan& p) TRV_INLINE_LAMBDA {
        const uint8_t* at = source + p.offset[J < p.loads ? J : 0];
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
    };
    const U8 bytes = pre(as<U8>(_mm256_set_m128i(half(high), half(low))));
    return as<U8>(_mm256_shuffle_epi8(reg(bytes), reg(lanes<U8>(order))));
}

}  // namespace
}  // namespace trv::TRV_LEVEL
