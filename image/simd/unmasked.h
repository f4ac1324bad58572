// What the levels without lane masks and byte permutations share: bytes and words that alternate,
// byte maps load by load, and the stores that come from them.
#pragma once

#include "image/simd/words.h"

namespace trv::TRV_LEVEL {
namespace {

// Bits of a where the mask has them, bits of b elsewhere.
TRV_INLINE U8 select(U8 mask, U8 a, U8 b) {
    return (mask & a) | (~mask & b);
}

// What a rounded-up mean of a and b is above the mean, in the lowest bit: 0 or 1.
template <typename V>
TRV_INLINE V rounding(V a, V b) {
    return a ^ b;
}
// The same of a mean of two rounded-up means, given their roundings.
template <typename V>
TRV_INLINE V rounding(V a, V b, V of_a, V of_b) {
    return (a ^ b) | of_a | of_b;
}
template <typename V>
TRV_INLINE V rounded_down(V mean, V rounding) {
    return mean - (rounding & splat<V>(1));
}

// Bits from bit `first` of even words on, and from bit `second` of odd ones: 1 to 16. A shift per
// lane is a multiplication here.
struct EightBits {
    TRV_INLINE EightBits(unsigned first, unsigned second)
        : factor(as<U16>(splat<U32>(0x10000u >> first | 0x10000u >> second << 16))) {}
    TRV_INLINE U16 of(U16 v) const { return mul_high(v, factor); }
    // As a 5-6-5 word: the upper two channels masked, and what stands above the bottom one kept.
    TRV_INLINE static U16 word(const Bgr<U16>& c, const Bgr<EightBits>& bits) {
        return words_of<true>(bits.r.of(c.r), bits.g.of(c.g), bits.b.of(c.b));
    }

    TRV_INLINE U16 lower(U16 v) const { return of(v) & splat<U16>(0xFF); }
    TRV_INLINE U16 upper(U16 v) const { return of(v) << 8; }

    U16 factor;
};

// Bytes of b, g and r in turn, of pixels that come from two vectors in turn: the bytes of a pair
// are three words.
TRV_INLINE void store_three(uint8_t* out, const Bgr<U8>& even, const Bgr<U8>& odd) {
    const U16 low = splat<U16>(0xFF), high = splat<U16>(0xFF00);
    store_three_words(out, (as<U16>(even.b) & low) | as<U16>(even.g) << 8,
                      (as<U16>(even.r) & low) | (as<U16>(odd.b) & high),
                      as<U16>(odd.g) >> 8 | (as<U16>(odd.r) & high));
}

// Each byte three times.
TRV_INLINE void store_thrice(uint8_t* out, U8 v) {
    const auto part = [&]<size_t First>() TRV_INLINE_LAMBDA {
        static constexpr auto from =
            byte_order<sizeof(U8)>([](size_t i) { return (First + i) / 3; });
        return reg(shuffle(v, lanes<U8>(from)));
    };
    store_thirds(out, part.template operator()<0>(), part.template operator()<16>(),
                 part.template operator()<32>());
}

// The low byte of each word four times.
TRV_INLINE void store_four_times(uint8_t* out, U16 v) {
    const auto part = [&]<size_t First>() TRV_INLINE_LAMBDA {
        static constexpr auto from =
            byte_order<sizeof(U8)>([](size_t i) { return (First + i) / 4 * 2; });
        return reg(shuffle(as<U8>(v), lanes<U8>(from)));
    };
    store_halves(out, sizeof(U8), part.template operator()<0>(), part.template operator()<16>());
}

// 5-6-5 words of pixels that come from two vectors in turn.
TRV_INLINE void store_words(uint8_t* out, const Bgr<U8>& even, const Bgr<U8>& odd) {
    const U16 top = splat<U16>(0xF800), middle = splat<U16>(0x07E0), bottom = splat<U16>(0x001F);
    const U16 first = (as<U16>(even.r) << 8 & top) | (as<U16>(even.g) << 3 & middle) |
                      (as<U16>(even.b) >> 3 & bottom);
    const U16 second =
        (as<U16>(odd.r) & top) | (as<U16>(odd.g) >> 5 & middle) | as<U16>(odd.b) >> 11;
    store_in_turn(out, first, second);
}

// Pixels of words as dwords; above its three bytes a dword has what stood above those of red.
template <typename Bits>
TRV_INLINE void dwords_of(const Bgr<U16>& c, const Bgr<Bits>& bits, U32* first, U32* second) {
    in_turn(bits.b.lower(c.b) | bits.g.upper(c.g), bits.r.of(c.r), first, second);
}

template <typename Bits>
TRV_INLINE void store_three(uint8_t* out, const Bgr<U16>& low, const Bgr<U16>& high,
                            const Bgr<Bits>& bits) {
    U32 pixels[4];
    dwords_of(low, bits, &pixels[0], &pixels[1]);
    dwords_of(high, bits, &pixels[2], &pixels[3]);
    store_three(out, pixels);
}

template <typename Bits>
TRV_INLINE void store_three_of_four(uint8_t* out, const Bgr<U16>& low, const Bgr<U16>& high,
                                    const Bgr<Bits>& bits) {
    U32 pixels[4];
    dwords_of(low, bits, &pixels[0], &pixels[1]);
    dwords_of(high, bits, &pixels[2], &pixels[3]);
    const U32 colours = splat<U32>(0xFFFFFF);
    for (size_t i = 0; i < 4; ++i) {
        uint8_t* at = out + i * sizeof(U32);
        store(at, (pixels[i] & colours) | (load<U32>(at) & ~colours));
    }
}

// Destination bytes from First on, a vector of them, of a map over `Room` source bytes; `pre` works
// on what is loaded before its bytes are taken apart. Kept bytes come out as 0.
template <typename M, int First, int Room, typename Pre>
TRV_INLINE U8 gather(const uint8_t* source, Pre pre) {
    return gather_load<M, First, Room, 0>(source, pre) |
           gather_load<M, First, Room, 1>(source, pre) |
           gather_load<M, First, Room, 2>(source, pre) |
           gather_load<M, First, Room, 3>(source, pre);
}

// Stores a vector but for the kept bytes of the map: these are stored back as they were.
template <typename M, int First>
TRV_INLINE void store_mapped(uint8_t* out, U8 v) {
    if constexpr (M::has_kept()) {
        static constexpr auto kept = [] {
            Lanes<uint8_t, sizeof(U8)> lanes{};
            for (int i = 0; i < static_cast<int>(sizeof(U8)); ++i)
                lanes.v[i] = static_cast<uint8_t>(M::at(First + i) == keep ? 0xFF : 0);
            return lanes;
        }();
        v |= load<U8>(out) & lanes<U8>(kept);
    }
    store(out, v);
}

}  // namespace
}  // namespace trv::TRV_LEVEL
