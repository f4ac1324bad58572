// What follows from a level's vocabulary and is the same text for all levels: means, words of
// colour, byte maps.
#pragma once

#include "image/simd/map.h"
#include "image/simd/vec_type.h"

namespace trv::TRV_LEVEL {
namespace {

// Words of channels in 8 bits, 5-6-5 or 5-5-5. What lies above the bottom channel's 8 bits stays
// and spills upwards: see layout::Rgb16.
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

#ifndef TRV_LEVEL_v4
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
#endif

}  // namespace
}  // namespace trv::TRV_LEVEL
