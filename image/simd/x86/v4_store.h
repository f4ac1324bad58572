// Stores of level v4: pixels of several channels, in memory's order.
#pragma once

#include "image/simd/x86/v4.h"

namespace trv::TRV_LEVEL {
namespace {

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

// Bytes i of a vector's part of a picture that belong to channel `Channel`.
template <size_t Part, size_t Step, size_t Channel>
constexpr uint64_t channel_mask() {
    return mask_where([](size_t i) { return (Part * 64 + i) % Step == Channel; });
}

// Vector `Part` of the bytes of b, g and r in turn, `Step` bytes per pixel.
template <size_t Part, size_t Step>
TRV_INLINE __m512i in_turn(U8 b, U8 g, U8 r) {
    static constexpr auto pixel = order<uint8_t>([](size_t i) { return (Part * 64 + i) / Step; });
    const __m512i turn = reg(lanes<U8>(pixel));
    __m512i v = _mm512_maskz_permutexvar_epi8(channel_mask<Part, Step, 0>(), turn, reg(b));
    v = _mm512_mask_permutexvar_epi8(v, channel_mask<Part, Step, 1>(), turn, reg(g));
    return _mm512_mask_permutexvar_epi8(v, channel_mask<Part, Step, 2>(), turn, reg(r));
}

// The same from bytes of b and g in turn, 32 pixels a vector, and from bytes of r of which pixels 0
// to 31 are the even ones and pixels 32 to 63 the odd ones.
template <size_t Part, size_t Step>
TRV_INLINE __m512i in_turn(__m512i bg0, __m512i bg1, __m512i r) {
    static constexpr auto two = order<uint8_t>([](size_t i) {
        const size_t t = Part * 64 + i;
        return t / Step % 32 * 2 + t % Step % 2;
    });
    static constexpr auto third = order<uint8_t>([](size_t i) {
        const size_t pixel = (Part * 64 + i) / Step;
        return pixel % 32 * 2 + pixel / 32;
    });
    constexpr uint64_t in_bg1 = mask_where([](size_t i) { return (Part * 64 + i) / Step >= 32; });
    const __m512i turn = reg(lanes<U8>(two));
    __m512i v;
    if constexpr (in_bg1 == 0)
        v = _mm512_maskz_permutexvar_epi8(~in_bg1, turn, bg0);
    else
        v = _mm512_maskz_permutexvar_epi8(in_bg1, turn, bg1);
    if constexpr (in_bg1 != 0 && ~in_bg1 != 0)
        v = _mm512_mask_permutexvar_epi8(v, ~in_bg1, turn, bg0);
    return _mm512_mask_permutexvar_epi8(v, channel_mask<Part, Step, 2>(), reg(lanes<U8>(third)), r);
}

// Bytes of b, g and r in turn: 64 pixels of three bytes.
TRV_INLINE void store_three(uint8_t* out, U8 b, U8 g, U8 r) {
    store(out, as<U8>(in_turn<0, 3>(b, g, r)));
    store(out + 64, as<U8>(in_turn<1, 3>(b, g, r)));
    store(out + 128, as<U8>(in_turn<2, 3>(b, g, r)));
}

// The same of 32 and 32 pixels of words.
TRV_INLINE void store_three(uint8_t* out, const Bgr<U16>& low, const Bgr<U16>& high,
                            const Bgr<EightBits>& bits) {
    const __m512i bg0 = EightBits::merged(low.b, bits.b, low.g, bits.g);
    const __m512i bg1 = EightBits::merged(high.b, bits.b, high.g, bits.g);
    const __m512i r = EightBits::merged(low.r, bits.r, high.r, bits.r);
    store(out, as<U8>(in_turn<0, 3>(bg0, bg1, r)));
    store(out + 64, as<U8>(in_turn<1, 3>(bg0, bg1, r)));
    store(out + 128, as<U8>(in_turn<2, 3>(bg0, bg1, r)));
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
template <bool PadFirst = false>
TRV_INLINE void store_three_of_four(uint8_t* out, U8 b, U8 g, U8 r) {
    store_four<PadFirst>(out, in_turn<0, 4>(b, g, r), in_turn<1, 4>(b, g, r),
                         in_turn<2, 4>(b, g, r), in_turn<3, 4>(b, g, r));
}
TRV_INLINE void store_three_of_four(uint8_t* out, const Bgr<U16>& low, const Bgr<U16>& high,
                                    const Bgr<EightBits>& bits) {
    const __m512i bg0 = EightBits::merged(low.b, bits.b, low.g, bits.g);
    const __m512i bg1 = EightBits::merged(high.b, bits.b, high.g, bits.g);
    const __m512i r = EightBits::merged(low.r, bits.r, high.r, bits.r);
    store_four(out, in_turn<0, 4>(bg0, bg1, r), in_turn<1, 4>(bg0, bg1, r),
               in_turn<2, 4>(bg0, bg1, r), in_turn<3, 4>(bg0, bg1, r));
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
