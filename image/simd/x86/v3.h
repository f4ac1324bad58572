// Vector operations of level v3: 32-byte vectors, AVX2.
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
constexpr bool is_lowest = false;

using U8 = VecOf<uint8_t, 32>;
using U16 = VecOf<uint16_t, 32>;
using U32 = VecOf<uint32_t, 32>;
using I16 = VecOf<int16_t, 32>;
using I32 = VecOf<int32_t, 32>;

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

// Samples in the middle of two vectors that begin one sample before and one after them at `at`.
template <typename V>
TRV_INLINE V between(V, V, const uint8_t* at) {
    return keep_in_register(load<V>(at));
}

// Even bytes of the first, odd bytes of the second.
TRV_INLINE U8 alternate(U8 first, U8 second) {
    return as<U8>(_mm256_blendv_epi8(reg(first), reg(second), _mm256_set1_epi16(-256)));
}

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

// Bytes as words: those of the first half, and those of the second.
TRV_INLINE U16 widen_low(U8 v) {
    return as<U16>(_mm256_cvtepu8_epi16(_mm256_castsi256_si128(reg(v))));
}
TRV_INLINE U16 widen_high(U8 v) {
    return as<U16>(_mm256_cvtepu8_epi16(_mm256_extracti128_si256(reg(v), 1)));
}

// Two vectors of signed words as bytes, in order, what lies outside 0 to 255 as 0 or 255.
TRV_INLINE U8 saturate(I16 a, I16 b) {
    const __m256i halves = _mm256_packus_epi16(as<__m256i>(a), as<__m256i>(b));
    return as<U8>(_mm256_permute4x64_epi64(halves, 0xD8));
}

// The same in each 16-byte part by itself: of the first there, then of the second; and so signed
// dwords as words.
TRV_INLINE U8 saturate_parts(I16 a, I16 b) {
    return as<U8>(_mm256_packus_epi16(as<__m256i>(a), as<__m256i>(b)));
}
TRV_INLINE U16 saturate_parts(I32 a, I32 b) {
    return as<U16>(_mm256_packus_epi32(as<__m256i>(a), as<__m256i>(b)));
}

// Upper halves of 32-bit products.
TRV_INLINE U16 mul_high(U16 a, U16 b) {
    return as<U16>(_mm256_mulhi_epu16(reg(a), reg(b)));
}
TRV_INLINE I16 mul_high(I16 a, I16 b) {
    return as<I16>(_mm256_mulhi_epi16(as<__m256i>(a), as<__m256i>(b)));
}

// Products of signed words, added in pairs.
TRV_INLINE U32 sums_of_products(I16 a, I16 b) {
    return as<U32>(_mm256_madd_epi16(as<__m256i>(a), as<__m256i>(b)));
}

// The words of as many bytes; `narrow` undoes their order.
using WordHalves = Halves<U16>;

// A a + B b of two vectors of bytes, A and B at most 127 and together at most 128.
template <int A, int B>
TRV_INLINE WordHalves weighted(U8 a, U8 b) {
    const auto weights = _mm256_set1_epi16(A | B << 8);
    return {as<U16>(_mm256_maddubs_epi16(_mm256_unpacklo_epi8(reg(a), reg(b)), weights)),
            as<U16>(_mm256_maddubs_epi16(_mm256_unpackhi_epi8(reg(a), reg(b)), weights))};
}

// Words of no more than 255 back to bytes.
TRV_INLINE U8 narrow(const WordHalves& words) {
    return as<U8>(_mm256_packus_epi16(reg(words.low), reg(words.high)));
}

// Words of two vectors in pairs, and dwords of as many words; `saturate_parts` undoes their order.
using WordPairs = Halves<U16>;
using DwordHalves = Halves<U32>;

TRV_INLINE WordPairs in_pairs(U16 a, U16 b) {
    return {as<U16>(_mm256_unpacklo_epi16(reg(a), reg(b))),
            as<U16>(_mm256_unpackhi_epi16(reg(a), reg(b)))};
}

// Each pair of signed words times the pair of its dword in `factors`, both products in one sum.
TRV_INLINE DwordHalves products(const WordPairs& pairs, U32 factors) {
    return {as<U32>(_mm256_madd_epi16(reg(pairs.low), reg(factors))),
            as<U32>(_mm256_madd_epi16(reg(pairs.high), reg(factors)))};
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

// Stores: pixels of several channels, in memory's order.

// Two results whose 128-bit halves are low a, low b and high a, high b of the memory order.
TRV_INLINE void store_halves(uint8_t* out, size_t apart, __m256i a, __m256i b) {
    store(out, as<U8>(_mm256_permute2x128_si256(a, b, 0x20)));
    store(out + apart, as<U8>(_mm256_permute2x128_si256(a, b, 0x31)));
}

// Words of a and b in turn: a0 b0 a1 b1 ...
TRV_INLINE void store_in_turn(uint8_t* out, U16 a, U16 b) {
    store_halves(out, 32, _mm256_unpacklo_epi16(reg(a), reg(b)),
                 _mm256_unpackhi_epi16(reg(a), reg(b)));
}

// Words of a and b in turn, as dwords.
TRV_INLINE void in_turn(U16 a, U16 b, U32* first, U32* second) {
    const __m256i low = _mm256_unpacklo_epi16(reg(a), reg(b));
    const __m256i high = _mm256_unpackhi_epi16(reg(a), reg(b));
    *first = as<U32>(_mm256_permute2x128_si256(low, high, 0x20));
    *second = as<U32>(_mm256_permute2x128_si256(low, high, 0x31));
}

// The thirds of 96 bytes that were made in halves of 48.
TRV_INLINE void store_thirds(uint8_t* out, __m256i first, __m256i second, __m256i third) {
    store(out, as<U8>(_mm256_permute2x128_si256(first, second, 0x20)));
    store(out + 32, as<U8>(_mm256_permute2x128_si256(third, first, 0x30)));
    store(out + 64, as<U8>(_mm256_permute2x128_si256(second, third, 0x31)));
}

// Words of a, b and c in turn. In each half one shuffle per source serves all three results (8 and
// 3 share no factor) and two blends choose per result: word t of a half's output is of source t mod
// 3.
TRV_INLINE void store_three_words(uint8_t* out, U16 a, U16 b, U16 c) {
    static constexpr auto order_a = word_order<sizeof(U8)>(0), order_b = word_order<sizeof(U8)>(1),
                          order_c = word_order<sizeof(U8)>(2);
    const __m256i sa = _mm256_shuffle_epi8(reg(a), reg(lanes<U8>(order_a)));
    const __m256i sb = _mm256_shuffle_epi8(reg(b), reg(lanes<U8>(order_b)));
    const __m256i sc = _mm256_shuffle_epi8(reg(c), reg(lanes<U8>(order_c)));
    store_thirds(out, _mm256_blend_epi16(_mm256_blend_epi16(sc, sb, 0x92), sa, 0x49),
                 _mm256_blend_epi16(_mm256_blend_epi16(sc, sb, 0x24), sa, 0x92),
                 _mm256_blend_epi16(_mm256_blend_epi16(sc, sb, 0x49), sa, 0x24));
}

// Bytes of b, g and r in turn: 32 pixels of three bytes. In each half one shuffle per source serves
// all three results (16 and 3 share no factor) and two blends choose per result; the halves then
// change places.
TRV_INLINE void store_three(uint8_t* out, U8 b, U8 g, U8 r) {
    const auto order = [](int offset) consteval {
        Lanes<uint8_t, 32> lanes{};
        for (int i = 0; i < 32; ++i)
            lanes.v[i / 16 * 16 + (3 * (i % 16) + offset) % 16] = static_cast<uint8_t>(i % 16);
        return lanes;
    };
    const auto every_third = [](int offset) consteval {
        Lanes<uint8_t, 32> lanes{};
        for (int i = 0; i < 32; ++i)
            lanes.v[i] = static_cast<uint8_t>(i % 16 % 3 == offset ? 0xFF : 0);
        return lanes;
    };
    static constexpr auto order_b = order(0), order_g = order(1), order_r = order(2);
    static constexpr auto third0 = every_third(0), third1 = every_third(1), third2 = every_third(2);
    const __m256i sb = _mm256_shuffle_epi8(reg(b), reg(lanes<U8>(order_b)));
    const __m256i sg = _mm256_shuffle_epi8(reg(g), reg(lanes<U8>(order_g)));
    const __m256i sr = _mm256_shuffle_epi8(reg(r), reg(lanes<U8>(order_r)));
    const __m256i m0 = reg(lanes<U8>(third0)), m1 = reg(lanes<U8>(third1)),
                  m2 = reg(lanes<U8>(third2));
    // Byte t of a half's output is channel t mod 3; its three results start at t = 0, 16, 32.
    const __m256i first = _mm256_blendv_epi8(_mm256_blendv_epi8(sr, sg, m1), sb, m0);
    const __m256i second = _mm256_blendv_epi8(_mm256_blendv_epi8(sr, sg, m0), sb, m2);
    const __m256i third = _mm256_blendv_epi8(_mm256_blendv_epi8(sr, sg, m2), sb, m1);
    store_thirds(out, first, second, third);
}

// Bytes of b, g and r in turn with every fourth byte of memory kept (the first of each pixel, or
// the last): loaded, blended, stored back.
template <bool PadFirst = false>
TRV_INLINE void store_three_of_four(uint8_t* out, U8 b, U8 g, U8 r) {
    const __m256i none = _mm256_setzero_si256();
    const __m256i bg_low = _mm256_unpacklo_epi8(reg(b), reg(g));
    const __m256i bg_high = _mm256_unpackhi_epi8(reg(b), reg(g));
    const __m256i r_low = _mm256_unpacklo_epi8(reg(r), none);
    const __m256i r_high = _mm256_unpackhi_epi8(reg(r), none);
    const __m256i p0 = _mm256_unpacklo_epi16(bg_low, r_low),
                  p1 = _mm256_unpackhi_epi16(bg_low, r_low);
    const __m256i p2 = _mm256_unpacklo_epi16(bg_high, r_high),
                  p3 = _mm256_unpackhi_epi16(bg_high, r_high);
    const U32 pad = splat<U32>(PadFirst ? 0xFFu : 0xFF000000u);
    const auto put = [&](size_t at, __m256i pixels) TRV_INLINE_LAMBDA {
        const U32 kept = load<U32>(out + at) & pad;
        store(out + at, as<U32>(pixels) << (PadFirst ? 8 : 0) | kept);
    };
    put(0, _mm256_permute2x128_si256(p0, p1, 0x20));
    put(32, _mm256_permute2x128_si256(p2, p3, 0x20));
    put(64, _mm256_permute2x128_si256(p0, p1, 0x31));
    put(96, _mm256_permute2x128_si256(p2, p3, 0x31));
}

// The low three bytes of 32 dwords. A vector's 24 bytes are six dwords of the output; they are
// turned to where they belong in it and the outputs are blended from two vectors each.
TRV_INLINE void store_three(uint8_t* out, const U32 (&d)[4]) {
    const __m256i order = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
    const auto turned = [&](U32 v, __m256i turn) TRV_INLINE_LAMBDA {
        return _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(reg(v), order), turn);
    };
    const __m256i t0 = turned(d[0], _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 0, 0));
    const __m256i t1 = turned(d[1], _mm256_setr_epi32(2, 4, 5, 6, 0, 0, 0, 1));
    const __m256i t2 = turned(d[2], _mm256_setr_epi32(5, 6, 0, 0, 0, 1, 2, 4));
    const __m256i t3 = turned(d[3], _mm256_setr_epi32(0, 0, 0, 1, 2, 4, 5, 6));
    store(out, as<U8>(_mm256_blend_epi32(t0, t1, 0xC0)));
    store(out + 32, as<U8>(_mm256_blend_epi32(t1, t2, 0xF0)));
    store(out + 64, as<U8>(_mm256_blend_epi32(t2, t3, 0xFC)));
}

}  // namespace
}  // namespace trv::TRV_LEVEL

// Composed of the operations above.
#include "image/simd/unmasked.h"
