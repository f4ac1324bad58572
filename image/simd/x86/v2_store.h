// Stores of level v2: pixels of several channels, in memory's order.
#pragma once

#include "image/simd/x86/v2.h"

namespace trv::TRV_LEVEL {
namespace {

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
