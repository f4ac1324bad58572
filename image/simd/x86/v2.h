// Vector operations of level v2: 16-byte vectors, SSE4.2.
#pragma once

#include "image/simd/map.h"
#include "image/simd/types.h"
#include "image/simd/x86/x86.h"

namespace trv::TRV_LEVEL {
namespace {

constexpr bool has_lane_masks = false;
constexpr bool has_double_shift = false;
constexpr bool has_three_way_logic = false;
constexpr bool has_byte_permutation = false;
constexpr bool has_cubics = false;
constexpr bool is_lowest = true;

using U8 = VecOf<uint8_t, 16>;
using U16 = VecOf<uint16_t, 16>;
using U32 = VecOf<uint32_t, 16>;
using I16 = VecOf<int16_t, 16>;
using I32 = VecOf<int32_t, 16>;

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

// Samples in the middle of two vectors that begin one sample before and one after them at `at`.
template <typename V>
TRV_INLINE V between(V, V, const uint8_t* at) {
    return keep_in_register(load<V>(at));
}

// Even bytes of the first, odd bytes of the second.
TRV_INLINE U8 alternate(U8 first, U8 second) {
    return as<U8>(_mm_blendv_epi8(reg(first), reg(second), _mm_set1_epi16(-256)));
}

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

// Bytes as words: those of the first half, and those of the second.
TRV_INLINE U16 widen_low(U8 v) {
    return as<U16>(_mm_unpacklo_epi8(reg(v), _mm_setzero_si128()));
}
TRV_INLINE U16 widen_high(U8 v) {
    return as<U16>(_mm_unpackhi_epi8(reg(v), _mm_setzero_si128()));
}

// Two vectors of signed words as bytes, in order, what lies outside 0 to 255 as 0 or 255.
TRV_INLINE U8 saturate(I16 a, I16 b) {
    return as<U8>(_mm_packus_epi16(as<__m128i>(a), as<__m128i>(b)));
}

// The same in each 16-byte part by itself: of the first there, then of the second; and so signed
// dwords as words.
TRV_INLINE U8 saturate_parts(I16 a, I16 b) {
    return as<U8>(_mm_packus_epi16(as<__m128i>(a), as<__m128i>(b)));
}
TRV_INLINE U16 saturate_parts(I32 a, I32 b) {
    return as<U16>(_mm_packus_epi32(as<__m128i>(a), as<__m128i>(b)));
}

// Upper halves of 32-bit products.
TRV_INLINE U16 mul_high(U16 a, U16 b) {
    return as<U16>(_mm_mulhi_epu16(reg(a), reg(b)));
}
TRV_INLINE I16 mul_high(I16 a, I16 b) {
    return as<I16>(_mm_mulhi_epi16(as<__m128i>(a), as<__m128i>(b)));
}

// Products of signed words, added in pairs.
TRV_INLINE U32 sums_of_products(I16 a, I16 b) {
    return as<U32>(_mm_madd_epi16(as<__m128i>(a), as<__m128i>(b)));
}

// The words of as many bytes; `narrow` undoes their order.
using WordHalves = Halves<U16>;

// A a + B b of two vectors of bytes, A and B at most 127 and together at most 128.
template <int A, int B>
TRV_INLINE WordHalves weighted(U8 a, U8 b) {
    const auto weights = _mm_set1_epi16(A | B << 8);
    return {as<U16>(_mm_maddubs_epi16(_mm_unpacklo_epi8(reg(a), reg(b)), weights)),
            as<U16>(_mm_maddubs_epi16(_mm_unpackhi_epi8(reg(a), reg(b)), weights))};
}

// Words of no more than 255 back to bytes.
TRV_INLINE U8 narrow(const WordHalves& words) {
    return as<U8>(_mm_packus_epi16(reg(words.low), reg(words.high)));
}

// Words of two vectors in pairs, and dwords of as many words; `saturate_parts` undoes their order.
using WordPairs = Halves<U16>;
using DwordHalves = Halves<U32>;

TRV_INLINE WordPairs in_pairs(U16 a, U16 b) {
    return {as<U16>(_mm_unpacklo_epi16(reg(a), reg(b))),
            as<U16>(_mm_unpackhi_epi16(reg(a), reg(b)))};
}

// Each pair of signed words times the pair of its dword in `factors`, both products in one sum.
TRV_INLINE DwordHalves products(const WordPairs& pairs, U32 factors) {
    return {as<U32>(_mm_madd_epi16(reg(pairs.low), reg(factors))),
            as<U32>(_mm_madd_epi16(reg(pairs.high), reg(factors)))};
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

// Stores: pixels of several channels, in memory's order.

// What is made in 16-byte parts, in the order of memory.
TRV_INLINE void store_halves(uint8_t* out, size_t apart, __m128i first, __m128i second) {
    store(out, as<U8>(first));
    store(out + apart, as<U8>(second));
}
TRV_INLINE void store_thirds(uint8_t* out, __m128i first, __m128i second, __m128i third) {
    store(out, as<U8>(first));
    store(out + 16, as<U8>(second));
    store(out + 32, as<U8>(third));
}

// Words of a and b in turn: a0 b0 a1 b1 ...
TRV_INLINE void store_in_turn(uint8_t* out, U16 a, U16 b) {
    store(out, as<U8>(_mm_unpacklo_epi16(reg(a), reg(b))));
    store(out + 16, as<U8>(_mm_unpackhi_epi16(reg(a), reg(b))));
}

// Words of a and b in turn, as dwords.
TRV_INLINE void in_turn(U16 a, U16 b, U32* first, U32* second) {
    *first = as<U32>(_mm_unpacklo_epi16(reg(a), reg(b)));
    *second = as<U32>(_mm_unpackhi_epi16(reg(a), reg(b)));
}

// Words of a, b and c in turn. Each goes through one shuffle that serves all three results (8 and 3
// share no factor), then two blends choose per result: word t of the output is of source t mod 3.
TRV_INLINE void store_three_words(uint8_t* out, U16 a, U16 b, U16 c) {
    static constexpr auto order_a = word_order<sizeof(U8)>(0), order_b = word_order<sizeof(U8)>(1),
                          order_c = word_order<sizeof(U8)>(2);
    const __m128i sa = _mm_shuffle_epi8(reg(a), reg(lanes<U8>(order_a)));
    const __m128i sb = _mm_shuffle_epi8(reg(b), reg(lanes<U8>(order_b)));
    const __m128i sc = _mm_shuffle_epi8(reg(c), reg(lanes<U8>(order_c)));
    store(out, as<U8>(_mm_blend_epi16(_mm_blend_epi16(sc, sb, 0x92), sa, 0x49)));
    store(out + 16, as<U8>(_mm_blend_epi16(_mm_blend_epi16(sc, sb, 0x24), sa, 0x92)));
    store(out + 32, as<U8>(_mm_blend_epi16(_mm_blend_epi16(sc, sb, 0x49), sa, 0x24)));
}

// Bytes of b, g and r in turn: 16 pixels of three bytes. Each source goes through one shuffle that
// serves all three results (16 and 3 share no factor), then two blends choose per result.
TRV_INLINE void store_three(uint8_t* out, U8 b, U8 g, U8 r) {
    const auto order = [](int offset) consteval {
        Lanes<uint8_t, 16> lanes{};
        for (int i = 0; i < 16; ++i) lanes.v[(3 * i + offset) % 16] = static_cast<uint8_t>(i);
        return lanes;
    };
    const auto every_third = [](int offset) consteval {
        Lanes<uint8_t, 16> lanes{};
        for (int i = 0; i < 16; ++i) lanes.v[i] = static_cast<uint8_t>(i % 3 == offset ? 0xFF : 0);
        return lanes;
    };
    static constexpr auto order_b = order(0), order_g = order(1), order_r = order(2);
    static constexpr auto third0 = every_third(0), third1 = every_third(1), third2 = every_third(2);
    const __m128i sb = _mm_shuffle_epi8(reg(b), reg(lanes<U8>(order_b)));
    const __m128i sg = _mm_shuffle_epi8(reg(g), reg(lanes<U8>(order_g)));
    const __m128i sr = _mm_shuffle_epi8(reg(r), reg(lanes<U8>(order_r)));
    const __m128i m0 = reg(lanes<U8>(third0)), m1 = reg(lanes<U8>(third1)),
                  m2 = reg(lanes<U8>(third2));
    // Byte t of the output is channel t mod 3; the three results start at t = 0, 16, 32.
    store(out, as<U8>(_mm_blendv_epi8(_mm_blendv_epi8(sr, sg, m1), sb, m0)));
    store(out + 16, as<U8>(_mm_blendv_epi8(_mm_blendv_epi8(sr, sg, m0), sb, m2)));
    store(out + 32, as<U8>(_mm_blendv_epi8(_mm_blendv_epi8(sr, sg, m2), sb, m1)));
}

// Bytes of b, g and r in turn with every fourth byte of memory kept (the first of each pixel, or
// the last): loaded, blended, stored back.
template <bool PadFirst = false>
TRV_INLINE void store_three_of_four(uint8_t* out, U8 b, U8 g, U8 r) {
    const __m128i bg_low = _mm_unpacklo_epi8(reg(b), reg(g));
    const __m128i bg_high = _mm_unpackhi_epi8(reg(b), reg(g));
    const __m128i none = _mm_setzero_si128();
    const __m128i r_low = _mm_unpacklo_epi8(reg(r), none);
    const __m128i r_high = _mm_unpackhi_epi8(reg(r), none);
    const U32 pad = splat<U32>(PadFirst ? 0xFFu : 0xFF000000u);
    const auto put = [&](size_t at, __m128i pixels) TRV_INLINE_LAMBDA {
        const U32 kept = load<U32>(out + at) & pad;
        store(out + at, as<U32>(pixels) << (PadFirst ? 8 : 0) | kept);
    };
    put(0, _mm_unpacklo_epi16(bg_low, r_low));
    put(16, _mm_unpackhi_epi16(bg_low, r_low));
    put(32, _mm_unpacklo_epi16(bg_high, r_high));
    put(48, _mm_unpackhi_epi16(bg_high, r_high));
}

// The low three bytes of 16 dwords.
TRV_INLINE void store_three(uint8_t* out, const U32 (&d)[4]) {
    const __m128i order = _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
    const __m128i s0 = _mm_shuffle_epi8(reg(d[0]), order), s1 = _mm_shuffle_epi8(reg(d[1]), order);
    const __m128i s2 = _mm_shuffle_epi8(reg(d[2]), order), s3 = _mm_shuffle_epi8(reg(d[3]), order);
    store(out, as<U8>(_mm_or_si128(s0, _mm_slli_si128(s1, 12))));
    store(out + 16, as<U8>(_mm_or_si128(_mm_srli_si128(s1, 4), _mm_slli_si128(s2, 8))));
    store(out + 32, as<U8>(_mm_or_si128(_mm_srli_si128(s2, 8), _mm_slli_si128(s3, 4))));
}

}  // namespace
}  // namespace trv::TRV_LEVEL

// Composed of the operations above.
#include "image/simd/unmasked.h"
