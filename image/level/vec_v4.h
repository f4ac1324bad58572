// Vector vocabulary of level v4: 64-byte vectors, AVX-512 with VBMI and VBMI2.
#pragma once

#include <immintrin.h>

#include "image/level/vec_type.h"

namespace trv::TRV_LEVEL {
namespace {

using U8 = VecOf<uint8_t, 64>;
using U16 = VecOf<uint16_t, 64>;
using U32 = VecOf<uint32_t, 64>;

inline __m512i reg(U8 v) {
    return reinterpret_cast<__m512i>(v);
}
inline __m512i reg(U16 v) {
    return reinterpret_cast<__m512i>(v);
}
inline __m512i reg(U32 v) {
    return reinterpret_cast<__m512i>(v);
}

inline U8 min(U8 a, U8 b) {
    return as<U8>(_mm512_min_epu8(reg(a), reg(b)));
}
inline U8 max(U8 a, U8 b) {
    return as<U8>(_mm512_max_epu8(reg(a), reg(b)));
}
inline U16 min(U16 a, U16 b) {
    return as<U16>(_mm512_min_epu16(reg(a), reg(b)));
}
inline U16 max(U16 a, U16 b) {
    return as<U16>(_mm512_max_epu16(reg(a), reg(b)));
}
inline U16 ceil_mean(U16 a, U16 b) {
    return as<U16>(_mm512_avg_epu16(reg(a), reg(b)));
}

inline U16 shift_right(U16 v, unsigned count) {
    return as<U16>(_mm512_srl_epi16(reg(v), _mm_cvtsi32_si128(static_cast<int>(count))));
}

// Permutation order made by a formula: lane i takes f(i). Sources of two-register permutations are
// numbered on: lanes of the second follow those of the first.
template <typename T, typename F>
consteval Lanes<T, 64 / sizeof(T)> order(F f) {
    Lanes<T, 64 / sizeof(T)> lanes{};
    for (size_t i = 0; i < 64 / sizeof(T); ++i) lanes.v[i] = static_cast<T>(f(i));
    return lanes;
}

template <typename F>
consteval uint64_t mask_where(F f) {
    uint64_t mask = 0;
    for (size_t i = 0; i < 64; ++i) mask |= uint64_t{f(i)} << i;
    return mask;
}

// The low bytes of two vectors of words, in order.
inline U8 narrow(U16 a, U16 b) {
    static constexpr auto even = order<uint8_t>([](size_t i) { return 2 * i; });
    return as<U8>(_mm512_permutex2var_epi8(reg(a), reg(lanes<U8>(even)), reg(b)));
}

// Words of a and b in turn: a0 b0 a1 b1 ...
inline void store_in_turn(uint8_t* out, U16 a, U16 b) {
    static constexpr auto low = order<uint16_t>([](size_t i) { return i / 2 + i % 2 * 32; });
    static constexpr auto high = order<uint16_t>([](size_t i) { return 16 + i / 2 + i % 2 * 32; });
    store(out, as<U8>(_mm512_permutex2var_epi16(reg(a), reg(lanes<U16>(low)), reg(b))));
    store(out + 64, as<U8>(_mm512_permutex2var_epi16(reg(a), reg(lanes<U16>(high)), reg(b))));
}

// Vector `Part` of the bytes of b, g and r in turn, `Step` bytes per pixel: the first two channels
// by one permutation, the third by a second one under a mask.
template <size_t Part, size_t Step>
inline __m512i in_turn(U8 b, U8 g, U8 r) {
    static constexpr auto two = order<uint8_t>([](size_t i) {
        const size_t t = Part * 64 + i;
        return t / Step + t % Step % 2 * 64;
    });
    static constexpr auto third = order<uint8_t>([](size_t i) { return (Part * 64 + i) / Step; });
    constexpr uint64_t is_third = mask_where([](size_t i) { return (Part * 64 + i) % Step == 2; });
    const __m512i bg = _mm512_permutex2var_epi8(reg(b), reg(lanes<U8>(two)), reg(g));
    return _mm512_mask_permutexvar_epi8(bg, is_third, reg(lanes<U8>(third)), reg(r));
}

// Bytes of b, g and r in turn: 64 pixels of three bytes.
inline void store_three(uint8_t* out, U8 b, U8 g, U8 r) {
    store(out, as<U8>(in_turn<0, 3>(b, g, r)));
    store(out + 64, as<U8>(in_turn<1, 3>(b, g, r)));
    store(out + 128, as<U8>(in_turn<2, 3>(b, g, r)));
}

// Bytes of b, g and r in turn with every fourth byte of memory left alone.
inline void store_three_of_four(uint8_t* out, U8 b, U8 g, U8 r) {
    constexpr uint64_t colours = mask_where([](size_t i) { return i % 4 != 3; });
    _mm512_mask_storeu_epi8(out, colours, in_turn<0, 4>(b, g, r));
    _mm512_mask_storeu_epi8(out + 64, colours, in_turn<1, 4>(b, g, r));
    _mm512_mask_storeu_epi8(out + 128, colours, in_turn<2, 4>(b, g, r));
    _mm512_mask_storeu_epi8(out + 192, colours, in_turn<3, 4>(b, g, r));
}

}  // namespace
}  // namespace trv::TRV_LEVEL
