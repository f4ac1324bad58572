// What is composed of a level's vector operations in the same way at all levels: words of colour,
// bytes inside dwords.
#pragma once

#include "image/simd/map.h"
#include "image/simd/types.h"

namespace trv::TRV_LEVEL {
namespace {

// Words of channels in 8 bits, 5-6-5 or 5-5-5. What lies above the bottom channel's 8 bits stays
// and spills upwards.
template <bool SixGreen>
TRV_INLINE U16 words_of(U16 top, U16 green, U16 bottom) {
    if constexpr (SixGreen)
        return (top & splat<U16>(0xF8)) << 8 | (green & splat<U16>(0xFC)) << 3 | bottom >> 3;
    else
        return (top & splat<U16>(0xF8)) << 7 | (green & splat<U16>(0xF8)) << 2 | bottom >> 3;
}

// Bytes change places inside their dword as a map of four bytes says; kept bytes come out as 0.
template <typename M>
TRV_INLINE U32 permute(U32 v) {
    static constexpr auto order = [] {
        Lanes<uint8_t, sizeof(U8)> lanes{};
        for (int i = 0; i < static_cast<int>(sizeof(U8)); ++i) {
            const int at = i % 4 < M::destination ? M::at(i % 4) : zero;
            lanes.v[i] = static_cast<uint8_t>(at < 0 ? 0x80 : i % 16 / 4 * 4 + at);
        }
        return lanes;
    }();
    return as<U32>(shuffle(as<U8>(v), lanes<U8>(order)));
}

// Signed words, or dwords, of a and b in turn as bytes, or words; what these do not hold as 0 or as
// the most that they do.
template <typename I>
TRV_INLINE auto saturate_in_turn(I a, I b) {
    static constexpr size_t lane = sizeof(I{}[0]) / 2;
    static constexpr auto order = [] {
        Lanes<uint8_t, sizeof(U8)> lanes{};
        for (size_t i = 0; i < sizeof(U8); ++i)
            lanes.v[i] =
                static_cast<uint8_t>(i / lane % 2 * 8 + i % 16 / (2 * lane) * lane + i % lane);
        return lanes;
    }();
    const auto parts = saturate_parts(a, b);
    return as<decltype(+parts)>(shuffle(as<U8>(parts), lanes<U8>(order)));
}

// Dwords to the right, as signed numbers.
TRV_INLINE DwordHalves shifted(const DwordHalves& v, int bits) {
    return {as<U32>(as<I32>(v.low) >> bits), as<U32>(as<I32>(v.high) >> bits)};
}

// The upper bytes of words, as they are.
struct UpperByte {
    TRV_INLINE static U16 of(U16 v) { return v >> 8; }
    TRV_INLINE static U16 lower(U16 v) { return v >> 8; }
    TRV_INLINE static U16 upper(U16 v) { return v & splat<U16>(0xFF00); }
    TRV_INLINE static U16 word(const Bgr<U16>& c, const Bgr<UpperByte>&) {
        return (c.r & splat<U16>(0xF800)) | (c.g >> 5 & splat<U16>(0x07E0)) | c.b >> 11;
    }
};

}  // namespace
}  // namespace trv::TRV_LEVEL
