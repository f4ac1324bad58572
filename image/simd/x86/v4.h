// Vector operations of level v4: 64-byte vectors, AVX-512 with VBMI and VBMI2.
#pragma once

#include "image/simd/map.h"
#include "image/simd/types.h"
#include "image/simd/x86/x86.h"

namespace trv::TRV_LEVEL {
namespace {

constexpr bool has_lane_masks = true;
constexpr bool has_double_shift = true;
constexpr bool has_three_way_logic = true;
constexpr bool has_byte_permutation = true;
constexpr bool has_cubics = true;
constexpr bool is_lowest = false;

using U8 = VecOf<uint8_t, 64>;
using U16 = VecOf<uint16_t, 64>;
using U32 = VecOf<uint32_t, 64>;
using I16 = VecOf<int16_t, 64>;
using I32 = VecOf<int32_t, 64>;
using F32 = VecOf<float, 64>;

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

// Samples in the middle of two vectors that begin one sample before and one after them: taken from
// both by a double shift, which is cheaper here than one more load across cache lines.
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

// Bytes as words: those of the first half, and those of the second.
template <size_t First>
TRV_INLINE U16 widen_from(U8 v) {
    static constexpr auto from = order<uint8_t>([](size_t i) { return First + i / 2; });
    return as<U16>(_mm512_maskz_permutexvar_epi8(0x5555555555555555, reg(lanes<U8>(from)), reg(v)));
}
TRV_INLINE U16 widen_low(U8 v) {
    return widen_from<0>(v);
}
TRV_INLINE U16 widen_high(U8 v) {
    return widen_from<32>(v);
}

// Two vectors of signed words as bytes, in order, what lies outside 0 to 255 as 0 or 255.
TRV_INLINE U8 saturate(I16 a, I16 b) {
    static constexpr auto turn = order<uint64_t>([](size_t i) { return i / 4 + i % 4 * 2; });
    const __m512i quarters = _mm512_packus_epi16(as<__m512i>(a), as<__m512i>(b));
    // The unmasked intrinsic draws a false warning of g++ 12.
    return as<U8>(_mm512_maskz_permutexvar_epi64(0xFF, reg(lanes<U8>(turn)), quarters));
}

// The same in each 16-byte part by itself: of the first there, then of the second; and so signed
// dwords as words.
TRV_INLINE U8 saturate_parts(I16 a, I16 b) {
    return as<U8>(_mm512_packus_epi16(as<__m512i>(a), as<__m512i>(b)));
}
TRV_INLINE U16 saturate_parts(I32 a, I32 b) {
    return as<U16>(_mm512_packus_epi32(as<__m512i>(a), as<__m512i>(b)));
}

// Upper halves of 32-bit products.
TRV_INLINE U16 mul_high(U16 a, U16 b) {
    return as<U16>(_mm512_mulhi_epu16(reg(a), reg(b)));
}
TRV_INLINE I16 mul_high(I16 a, I16 b) {
    return as<I16>(_mm512_mulhi_epi16(as<__m512i>(a), as<__m512i>(b)));
}

// Products of signed words, added in pairs.
TRV_INLINE U32 sums_of_products(I16 a, I16 b) {
    return as<U32>(_mm512_madd_epi16(as<__m512i>(a), as<__m512i>(b)));
}

// The words of as many bytes; `narrow` undoes their order.
using WordHalves = Halves<U16>;

// A a + B b of two vectors of bytes, A and B at most 127 and together at most 128.
template <int A, int B>
TRV_INLINE WordHalves weighted(U8 a, U8 b) {
    const auto weights = _mm512_set1_epi16(A | B << 8);
    return {as<U16>(_mm512_maddubs_epi16(_mm512_unpacklo_epi8(reg(a), reg(b)), weights)),
            as<U16>(_mm512_maddubs_epi16(_mm512_unpackhi_epi8(reg(a), reg(b)), weights))};
}

// Words of no more than 255 back to bytes.
TRV_INLINE U8 narrow(const WordHalves& words) {
    return as<U8>(_mm512_packus_epi16(reg(words.low), reg(words.high)));
}

// Words of two vectors in pairs, and dwords of as many words; `saturate_parts` undoes their order.
using WordPairs = Halves<U16>;
using DwordHalves = Halves<U32>;

TRV_INLINE WordPairs in_pairs(U16 a, U16 b) {
    return {as<U16>(_mm512_unpacklo_epi16(reg(a), reg(b))),
            as<U16>(_mm512_unpackhi_epi16(reg(a), reg(b)))};
}

// Each pair of signed words times the pair of its dword in `factors`, both products in one sum.
TRV_INLINE DwordHalves products(const WordPairs& pairs, U32 factors) {
    return {as<U32>(_mm512_madd_epi16(reg(pairs.low), reg(factors))),
            as<U32>(_mm512_madd_epi16(reg(pairs.high), reg(factors)))};
}

// Cubic polynomials for words, one for each half octave, with four tables of coefficients: the five
// lowest bits of a word as a float, of those above bit 22, say which.
class Cubics {
  public:
    TRV_INLINE explicit Cubics(const float (&coefficient)[4][32])
        : c0_(coefficient[0]), c1_(coefficient[1]), c2_(coefficient[2]), c3_(coefficient[3]) {}

    // Rounded, and cut to what words hold.
    TRV_INLINE U16 operator()(U16 v) const {
        const auto half = [&](__m512i dwords) TRV_INLINE_LAMBDA {
            return reg(as<U32>(__builtin_convertvector(at(as<I32>(dwords)), I32)));
        };
        const __m512i none = _mm512_setzero_si512();
        return as<U16>(_mm512_packus_epi32(half(_mm512_unpacklo_epi16(reg(v), none)),
                                           half(_mm512_unpackhi_epi16(reg(v), none))));
    }

  private:
    struct Table {
        TRV_INLINE explicit Table(const float (&table)[32])
            : low(_mm512_loadu_ps(table)), high(_mm512_loadu_ps(table + 16)) {}
        TRV_INLINE F32 operator[](U32 index) const {
            return as<F32>(_mm512_permutex2var_ps(low, reg(index), high));
        }
        __m512 low, high;
    };

    TRV_INLINE F32 at(I32 number) const {
        const F32 x = __builtin_convertvector(number, F32);
        const U32 which = as<U32>(x) >> 22;
        F32 y = c3_[which] * x + c2_[which];
        y = y * x + c1_[which];
        return y * x + c0_[which] + splat<F32>(0.5f);
    }

    Table c0_, c1_, c2_, c3_;
};

TRV_INLINE Cubics cubics(const float (&coefficient)[4][32]) {
    return Cubics(coefficient);
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

// Stores: pixels of several channels, in memory's order.

// Words of a and b in turn: a0 b0 a1 b1 ...
TRV_INLINE void store_in_turn(uint8_t* out, U16 a, U16 b) {
    static constexpr auto low = order<uint16_t>([](size_t i) { return i / 2 + i % 2 * 32; });
    static constexpr auto high = order<uint16_t>([](size_t i) { return 16 + i / 2 + i % 2 * 32; });
    store(out, as<U8>(_mm512_permutex2var_epi16(reg(a), reg(lanes<U16>(low)), reg(b))));
    store(out + 64, as<U8>(_mm512_permutex2var_epi16(reg(a), reg(lanes<U16>(high)), reg(b))));
}

// Bytes of a and b in turn.
TRV_INLINE void store_in_turn(uint8_t* out, U8 a, U8 b) {
    static constexpr auto low =
        order<uint64_t>([](size_t i) { return i / 4 * 2 + i / 2 % 2 * 8 + i % 2; });
    static constexpr auto high =
        order<uint64_t>([](size_t i) { return 4 + i / 4 * 2 + i / 2 % 2 * 8 + i % 2; });
    const __m512i first = _mm512_unpacklo_epi8(reg(a), reg(b));
    const __m512i second = _mm512_unpackhi_epi8(reg(a), reg(b));
    store(out, as<U8>(_mm512_permutex2var_epi64(first, reg(lanes<U8>(low)), second)));
    store(out + 64, as<U8>(_mm512_permutex2var_epi64(first, reg(lanes<U8>(high)), second)));
}

// 5-6-5 words: the upper byte is made for all pixels, then the lower one.
TRV_INLINE void store_words(uint8_t* out, const Bgr<U8>& c) {
    const U8 upper = select(splat<U8>(0xF8), c.r, bits_up<-5>(c.g));
    store_in_turn(out, select(splat<U8>(0xE0), bits_up<3>(c.g), bits_up<-3>(c.b)), upper);
}

// Vector `Part` of 64 four-byte pixels, from bytes of b and g in turn, 32 pixels a vector, and from
// bytes of r of which pixels 0 to 31 are the even ones and pixels 32 to 63 the odd ones.
template <size_t Part>
TRV_INLINE __m512i in_turn(__m512i bg0, __m512i bg1, __m512i r) {
    static constexpr auto two =
        order<uint8_t>([](size_t i) { return (Part * 16 + i / 4) % 32 * 2 + i % 2; });
    static constexpr auto third =
        order<uint8_t>([](size_t i) { return (Part * 16 + i / 4) % 32 * 2 + Part / 2; });
    constexpr uint64_t in_third = mask_where([](size_t i) { return i % 4 == 2; });
    const __m512i v =
        _mm512_maskz_permutexvar_epi8(~uint64_t{}, reg(lanes<U8>(two)), Part < 2 ? bg0 : bg1);
    return _mm512_mask_permutexvar_epi8(v, in_third, reg(lanes<U8>(third)), r);
}

// Vector `Part` of the words of a, b and c in turn: those of a and b by one permutation.
template <size_t Part>
TRV_INLINE U16 words_in_turn(U16 a, U16 b, U16 c) {
    static constexpr auto of_two = order<uint16_t>([](size_t i) {
        const size_t t = Part * 32 + i;
        return t / 3 + (t % 3 == 1 ? 32 : 0);
    });
    static constexpr auto pixel = order<uint16_t>([](size_t i) { return (Part * 32 + i) / 3; });
    constexpr uint32_t third = [] {
        uint32_t mask = 0;
        for (size_t i = 0; i < 32; ++i) mask |= uint32_t{(Part * 32 + i) % 3 == 2} << i;
        return mask;
    }();
    const __m512i two = _mm512_permutex2var_epi16(reg(a), reg(lanes<U16>(of_two)), reg(b));
    return as<U16>(_mm512_mask_permutexvar_epi16(two, third, reg(lanes<U16>(pixel)), reg(c)));
}

// Words of a, b and c in turn.
TRV_INLINE void store_three_words(uint8_t* out, U16 a, U16 b, U16 c) {
    store(out, words_in_turn<0>(a, b, c));
    store(out + 64, words_in_turn<1>(a, b, c));
    store(out + 128, words_in_turn<2>(a, b, c));
}

// Where byte i of a channel goes when three take turns, in whichever vector of the result that is:
// 64 and 3 share no factor, so each has a place of its own and one permutation serves all three
// vectors. `Place` says which byte of the source byte i is.
template <size_t Channel, typename Place>
constexpr Lanes<uint8_t, 64> turned_by_three(Place place) {
    Lanes<uint8_t, 64> lanes{};
    for (size_t i = 0; i < 64; ++i)
        lanes.v[(3 * i + Channel) % 64] = static_cast<uint8_t>(place(i));
    return lanes;
}

template <typename Place>
TRV_INLINE void store_three(uint8_t* out, U8 b, U8 g, U8 r, Place) {
    static constexpr auto turn_b = turned_by_three<0>(Place{}),
                          turn_g = turned_by_three<1>(Place{}),
                          turn_r = turned_by_three<2>(Place{});
    const auto turned = [](U8 v, U8 turn) TRV_INLINE_LAMBDA {
        // The unmasked intrinsic draws a false warning of g++ 12.
        return as<U8>(_mm512_maskz_permutexvar_epi8(~uint64_t{}, reg(turn), reg(v)));
    };
    const U8 tb = turned(b, lanes<U8>(turn_b)), tg = turned(g, lanes<U8>(turn_g)),
             tr = turned(r, lanes<U8>(turn_r));
    const auto third = [](size_t first) consteval {
        return mask_where([=](size_t i) { return i % 3 == first; });
    };
    // Byte t of the result is of channel t mod 3; its vectors start at t = 0, 64 and 128.
    constexpr uint64_t m0 = third(0), m1 = third(1), m2 = third(2);
    store(out, select(m0, tb, select(m1, tg, tr)));
    store(out + 64, select(m2, tb, select(m0, tg, tr)));
    store(out + 128, select(m1, tb, select(m2, tg, tr)));
}

// Bytes of b, g and r in turn: 64 pixels of three bytes.
TRV_INLINE void store_three(uint8_t* out, U8 b, U8 g, U8 r) {
    store_three(out, b, g, r, [](size_t i) { return i; });
}

// The same of 32 and 32 pixels of words.
TRV_INLINE void store_three(uint8_t* out, const Bgr<U16>& low, const Bgr<U16>& high,
                            const Bgr<EightBits>& bits) {
    const U8 b = as<U8>(EightBits::merged(low.b, bits.b, high.b, bits.b));
    const U8 g = as<U8>(EightBits::merged(low.g, bits.g, high.g, bits.g));
    const U8 r = as<U8>(EightBits::merged(low.r, bits.r, high.r, bits.r));
    store_three(out, b, g, r, [](size_t i) { return i % 32 * 2 + i / 32; });
}

// Each byte three times.
TRV_INLINE void store_thrice(uint8_t* out, U8 v) {
    const auto put = [&]<size_t Part>() TRV_INLINE_LAMBDA {
        static constexpr auto from = order<uint8_t>([](size_t i) { return (Part * 64 + i) / 3; });
        const __m512i turn = reg(lanes<U8>(from));
        store(out + Part * 64, as<U8>(_mm512_maskz_permutexvar_epi8(~uint64_t{}, turn, reg(v))));
    };
    put.template operator()<0>();
    put.template operator()<1>();
    put.template operator()<2>();
}

// The low byte of each word four times.
TRV_INLINE void store_four_times(uint8_t* out, U16 v) {
    const auto put = [&]<size_t Part>() TRV_INLINE_LAMBDA {
        static constexpr auto from =
            order<uint8_t>([](size_t i) { return (Part * 16 + i / 4) * 2; });
        const __m512i turn = reg(lanes<U8>(from));
        store(out + Part * 64, as<U8>(_mm512_maskz_permutexvar_epi8(~uint64_t{}, turn, reg(v))));
    };
    put.template operator()<0>();
    put.template operator()<1>();
}

// Bytes of b, g and r in turn with every fourth byte of memory left alone: the first of each pixel,
// or the last. One byte further on, the first case is the second.
template <bool PadFirst = false>
TRV_INLINE void store_four(uint8_t* out, __m512i v0, __m512i v1, __m512i v2, __m512i v3) {
    constexpr uint64_t colours = mask_where([](size_t i) { return i % 4 != 3; });
    out += PadFirst ? 1 : 0;
    _mm512_mask_storeu_epi8(out, colours, v0);
    _mm512_mask_storeu_epi8(out + 64, colours, v1);
    _mm512_mask_storeu_epi8(out + 128, colours, v2);
    _mm512_mask_storeu_epi8(out + 192, colours, v3);
}
// Channels are interleaved in each 16-byte part by itself. Before that, dwords go where parts of
// the result take them from: part j of vector k is made of dword 4 * k + j.
template <bool PadFirst = false>
TRV_INLINE void store_three_of_four(uint8_t* out, U8 b, U8 g, U8 r) {
    static constexpr auto from = order<uint32_t>([](size_t i) { return i % 4 * 4 + i / 4; });
    const auto spread = [](U8 v) TRV_INLINE_LAMBDA {
        return _mm512_maskz_permutexvar_epi32(0xFFFF, reg(lanes<U32>(from)), reg(v));
    };
    const __m512i sb = spread(b), sg = spread(g), sr = spread(r);
    const __m512i bg_low = _mm512_unpacklo_epi8(sb, sg), bg_high = _mm512_unpackhi_epi8(sb, sg);
    const __m512i r_low = _mm512_unpacklo_epi8(sr, sr), r_high = _mm512_unpackhi_epi8(sr, sr);
    store_four<PadFirst>(
        out, _mm512_unpacklo_epi16(bg_low, r_low), _mm512_unpackhi_epi16(bg_low, r_low),
        _mm512_unpacklo_epi16(bg_high, r_high), _mm512_unpackhi_epi16(bg_high, r_high));
}
TRV_INLINE void store_three_of_four(uint8_t* out, const Bgr<U16>& low, const Bgr<U16>& high,
                                    const Bgr<EightBits>& bits) {
    const __m512i bg0 = EightBits::merged(low.b, bits.b, low.g, bits.g);
    const __m512i bg1 = EightBits::merged(high.b, bits.b, high.g, bits.g);
    const __m512i r = EightBits::merged(low.r, bits.r, high.r, bits.r);
    store_four(out, in_turn<0>(bg0, bg1, r), in_turn<1>(bg0, bg1, r), in_turn<2>(bg0, bg1, r),
               in_turn<3>(bg0, bg1, r));
}

// The low three bytes of 64 dwords.
TRV_INLINE void store_three(uint8_t* out, const U32 (&d)[4]) {
    static constexpr auto turn0 = order<uint8_t>([](size_t i) { return i / 3 * 4 + i % 3; });
    static constexpr auto turn1 =
        order<uint8_t>([](size_t i) { return (i + 64) / 3 * 4 + (i + 64) % 3 - 64; });
    static constexpr auto turn2 =
        order<uint8_t>([](size_t i) { return (i + 128) / 3 * 4 + (i + 128) % 3 - 128; });
    const auto put = [&](int k, const auto& turn) TRV_INLINE_LAMBDA {
        store(out + 64 * k,
              as<U8>(_mm512_permutex2var_epi8(reg(d[k]), reg(lanes<U8>(turn)), reg(d[k + 1]))));
    };
    put(0, turn0);
    put(1, turn1);
    put(2, turn2);
}

}  // namespace
}  // namespace trv::TRV_LEVEL
