// Vector vocabulary of level v4: 64-byte vectors, AVX-512 with VBMI and VBMI2.
#pragma once

#include <immintrin.h>

#include "image/simd/map.h"
#include "image/simd/vec_type.h"

namespace trv::TRV_LEVEL {
namespace {

using U8 = VecOf<uint8_t, 64>;
using U16 = VecOf<uint16_t, 64>;
using U32 = VecOf<uint32_t, 64>;
using I16 = VecOf<int16_t, 64>;

TRV_INLINE __m512i reg(U8 v) {
    return reinterpret_cast<__m512i>(v);
}
TRV_INLINE __m512i reg(U16 v) {
    return reinterpret_cast<__m512i>(v);
}
TRV_INLINE __m512i reg(U32 v) {
    return reinterpret_cast<__m512i>(v);
}

TRV_INLINE U8 min(U8 a, U8 b) {
    return as<U8>(_mm512_min_epu8(reg(a), reg(b)));
}
TRV_INLINE U8 max(U8 a, U8 b) {
    return as<U8>(_mm512_max_epu8(reg(a), reg(b)));
}
TRV_INLINE U16 min(U16 a, U16 b) {
    return as<U16>(_mm512_min_epu16(reg(a), reg(b)));
}
TRV_INLINE U16 max(U16 a, U16 b) {
    return as<U16>(_mm512_max_epu16(reg(a), reg(b)));
}
TRV_INLINE U8 ceil_mean(U8 a, U8 b) {
    return as<U8>(_mm512_avg_epu8(reg(a), reg(b)));
}
TRV_INLINE U16 ceil_mean(U16 a, U16 b) {
    return as<U16>(_mm512_avg_epu16(reg(a), reg(b)));
}

// One less, but not less than 0.
TRV_INLINE U8 less_one(U8 v) {
    return as<U8>(_mm512_subs_epu8(reg(v), _mm512_set1_epi8(1)));
}
TRV_INLINE U16 less_one(U16 v) {
    return as<U16>(_mm512_subs_epu16(reg(v), _mm512_set1_epi16(1)));
}

TRV_INLINE U16 shift_right(U16 v, unsigned count) {
    return as<U16>(_mm512_srl_epi16(reg(v), _mm_cvtsi32_si128(static_cast<int>(count))));
}

// Permutation order made by a formula: lane i takes f(i). Sources of two-register permutations are
// numbered on: lanes of the second follow those of the first.
template <typename T, typename F>
constexpr Lanes<T, 64 / sizeof(T)> order(F f) {
    Lanes<T, 64 / sizeof(T)> lanes{};
    for (size_t i = 0; i < 64 / sizeof(T); ++i) lanes.v[i] = static_cast<T>(f(i));
    return lanes;
}

template <typename F>
constexpr uint64_t mask_where(F f) {
    uint64_t mask = 0;
    for (size_t i = 0; i < 64; ++i) mask |= uint64_t{f(i)} << i;
    return mask;
}

// Bytes of each 16-byte part in another order; an order of 0x80 gives 0.
TRV_INLINE U8 shuffle(U8 v, U8 order) {
    return as<U8>(_mm512_shuffle_epi8(reg(v), reg(order)));
}

// Samples in the middle of two vectors that begin one sample before and one behind them: taken from
// both by a double shift, which is cheaper here than one more load across cache lines.
constexpr bool has_double_shift = true;
constexpr bool has_lane_masks = true;
TRV_INLINE U8 between(U8 left, U8 right, const uint8_t* = nullptr) {
    return as<U8>(_mm512_shrdi_epi16(reg(left), reg(right), 8));
}
TRV_INLINE U16 between(U16 left, U16 right, const uint8_t* = nullptr) {
    return as<U16>(_mm512_shrdi_epi32(reg(left), reg(right), 16));
}

// Lanes of a where the mask has them, lanes of b elsewhere.
TRV_INLINE U8 select(uint64_t mask, U8 a, U8 b) {
    return as<U8>(_mm512_mask_blend_epi8(mask, reg(b), reg(a)));
}
TRV_INLINE U16 select(uint64_t mask, U16 a, U16 b) {
    return as<U16>(_mm512_mask_blend_epi16(static_cast<uint32_t>(mask), reg(b), reg(a)));
}

// Bits of a where the mask has them, bits of b elsewhere.
TRV_INLINE U8 select(U8 mask, U8 a, U8 b) {
    return as<U8>(_mm512_ternarylogic_epi64(reg(mask), reg(a), reg(b), 0xCA));
}

// What a rounded-up mean of a and b is above the mean: 0 or 1.
template <typename V>
TRV_INLINE V rounding(V a, V b) {
    return as<V>(_mm512_ternarylogic_epi64(reg(a), reg(b), reg(splat<V>(1)), 0x28));
}
// The same of a mean of two rounded-up means, given their roundings.
template <typename V>
TRV_INLINE V rounding(V a, V b, V of_a, V of_b) {
    const __m512i here = _mm512_ternarylogic_epi64(reg(a), reg(b), reg(of_a), 0xBE);
    return as<V>(_mm512_ternarylogic_epi64(here, reg(of_b), reg(splat<V>(1)), 0xA8));
}
template <typename V>
TRV_INLINE V rounded_down(V mean, V rounding) {
    return mean - rounding;
}

// Each byte shifted to the left by Up bits, 8 - Up bits of its neighbours with it.
template <int Up>
TRV_INLINE U8 bits_up(U8 v) {
    static constexpr auto from = order<uint8_t>(
        [](size_t i) { return (i % 8 * 8 + size_t{64} - static_cast<size_t>(Up)) % 64; });
    return as<U8>(_mm512_maskz_multishift_epi64_epi8(~uint64_t{}, reg(lanes<U8>(from)), reg(v)));
}

// Eight bits of each word, from bit `first` of even words on and from bit `second` of odd ones.
struct EightBits {
    TRV_INLINE EightBits(unsigned first, unsigned second)
        : count(as<U16>(splat<U32>(first | second << 16))),
          place(count * splat<U16>(0x0101) + lanes<U16>(word_bits)) {}

    // In even bytes those of a, in odd bytes those of b.
    TRV_INLINE static __m512i merged(U16 a, const EightBits& in_a, U16 b, const EightBits& in_b) {
        const __m512i even =
            _mm512_maskz_multishift_epi64_epi8(0x5555555555555555, reg(in_a.place), reg(a));
        return _mm512_mask_multishift_epi64_epi8(even, 0xAAAAAAAAAAAAAAAA, reg(in_b.place), reg(b));
    }

    // As a 5-6-5 word: the upper two channels masked, and what stands above the bottom one kept.
    TRV_INLINE static U16 word(const Bgr<U16>& c, const Bgr<EightBits>& bits) {
        const __m512i top =
            _mm512_maskz_multishift_epi64_epi8(~uint64_t{}, reg(bits.r.place), reg(c.r));
        const U8 up_three = as<U8>(bits.g.place) + as<U8>(splat<U16>(0x05FD));
        const __m512i green =
            _mm512_maskz_multishift_epi64_epi8(~uint64_t{}, reg(up_three), reg(c.g));
        const __m512i bottom = _mm512_srlv_epi16(reg(c.b), reg(bits.b.count + splat<U16>(3)));
        const __m512i upper =
            _mm512_ternarylogic_epi64(_mm512_set1_epi16(-0x0800), top, green, 0xCA);
        return as<U16>(_mm512_ternarylogic_epi64(_mm512_set1_epi16(-0x20), upper, bottom, 0xEA));
    }

    static constexpr auto word_bits = order<uint16_t>([](size_t i) { return i % 4 * 16 * 0x0101; });
    U16 count, place;
};

// The low bytes of two vectors of words, in order.
TRV_INLINE U8 narrow(U16 a, U16 b) {
    static constexpr auto even = order<uint8_t>([](size_t i) { return 2 * i; });
    return as<U8>(_mm512_permutex2var_epi8(reg(a), reg(lanes<U8>(even)), reg(b)));
}

// The low words of two vectors of dwords, in order.
TRV_INLINE U16 narrow(U32 a, U32 b) {
    static constexpr auto even = order<uint16_t>([](size_t i) { return 2 * i; });
    return as<U16>(_mm512_permutex2var_epi16(reg(a), reg(lanes<U16>(even)), reg(b)));
}

// Two vectors of signed words as bytes, in order, what lies outside 0 to 255 as 0 or 255.
TRV_INLINE U8 saturate(I16 a, I16 b) {
    static constexpr auto turn = order<uint64_t>([](size_t i) { return i / 4 + i % 4 * 2; });
    const __m512i quarters = _mm512_packus_epi16(as<__m512i>(a), as<__m512i>(b));
    // The unmasked intrinsic draws a false warning of g++ 12.
    return as<U8>(_mm512_maskz_permutexvar_epi64(0xFF, reg(lanes<U8>(turn)), quarters));
}

// Upper halves of 32-bit products.
TRV_INLINE U16 mul_high(U16 a, U16 b) {
    return as<U16>(_mm512_mulhi_epu16(reg(a), reg(b)));
}
TRV_INLINE I16 mul_high(I16 a, I16 b) {
    return as<I16>(_mm512_mulhi_epi16(as<__m512i>(a), as<__m512i>(b)));
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
    const auto weight = _mm512_set1_epi8(Weight);
    return {as<U16>(_mm512_maddubs_epi16(_mm512_unpacklo_epi8(reg(a), reg(b)), weight)),
            as<U16>(_mm512_maddubs_epi16(_mm512_unpackhi_epi8(reg(a), reg(b)), weight))};
}

// Words of no more than 255 back to bytes.
TRV_INLINE U8 narrow(const WordHalves& words) {
    return as<U8>(_mm512_packus_epi16(reg(words.low), reg(words.high)));
}

template <typename M, int First, int J>
constexpr uint64_t gather_mask(const Plan& p) {
    uint64_t mask = 0;
    for (int i = 0; i < 64; ++i) mask |= uint64_t{place<M>(p, 64, First + i, J) >= 0} << i;
    return mask;
}

// Order of a permutation over loads J and J + 1; what neither has is 0 and masked out.
template <typename M, int First, int J>
constexpr Lanes<uint8_t, 64> gather_order(const Plan& p) {
    Lanes<uint8_t, 64> lanes{};
    for (int i = 0; i < 64; ++i) {
        const int in_first = place<M>(p, 64, First + i, J);
        const int in_second = place<M>(p, 64, First + i, J + 1);
        lanes.v[i] = static_cast<uint8_t>(in_first >= 0    ? in_first
                                          : in_second >= 0 ? 64 + in_second
                                                           : 0);
    }
    return lanes;
}

template <int Room>
TRV_INLINE U8 load_within(const uint8_t* at) {
    if constexpr (Room >= 64)
        return load<U8>(at);
    else
        return as<U8>(_mm512_maskz_loadu_epi8((uint64_t{1} << Room) - 1, at));
}

// Destination bytes First to First + 63 of a map over `Room` source bytes; `pre` works on what is
// loaded before its bytes are taken apart. Zero bytes come out as 0, kept bytes as anything.
template <typename M, int First, int Room, typename Pre>
TRV_INLINE U8 gather(const uint8_t* source, Pre pre) {
    constexpr Plan p = plan<M>(First, 64, 64, Room, Pre::words);
    static_assert(p.loads <= 3);
    static constexpr auto order = gather_order<M, First, 0>(p);
    constexpr uint64_t first = gather_mask<M, First, 0>(p) | gather_mask<M, First, 1>(p);
    const auto bytes = [&](int j) TRV_INLINE_LAMBDA {
        return reg(pre(load_within<Room>(source + p.offset[j])));
    };
    const __m512i turn = reg(lanes<U8>(order));
    if constexpr (p.loads == 1) return as<U8>(_mm512_maskz_permutexvar_epi8(first, turn, bytes(0)));
    const __m512i two = _mm512_maskz_permutex2var_epi8(first, bytes(0), turn, bytes(1));
    if constexpr (p.loads < 3) return as<U8>(two);
    static constexpr auto third = gather_order<M, First, 2>(p);
    return as<U8>(_mm512_mask_permutexvar_epi8(two, gather_mask<M, First, 2>(p),
                                               reg(lanes<U8>(third)), bytes(2)));
}

// Stores a vector but for the kept bytes of the map.
template <typename M, int First>
TRV_INLINE void store_mapped(uint8_t* out, U8 v) {
    if constexpr (M::has_kept())
        _mm512_mask_storeu_epi8(
            out, mask_where([](size_t i) { return M::at(First + static_cast<int>(i)) != keep; }),
            reg(v));
    else
        store(out, v);
}

}  // namespace
}  // namespace trv::TRV_LEVEL
