// Which kind of rule, of those in grey.h, colour.h, packed.h and yuv.h, a conversion is made by.
#pragma once

#include <type_traits>
#include <utility>

#include "image/direct/colour.h"
#include "image/direct/grey.h"
#include "image/direct/packed.h"
#include "image/direct/yuv.h"

namespace trv::TRV_LEVEL {
namespace {

static_assert(Conversion::zero == zero && Conversion::keep == keep);

template <typename T>
struct Is {
    using Type = T;
};

// A copy: the table itself would be shared between levels.
template <size_t I>
constexpr Conversion conversion = routing::table.conversions[I];

template <size_t I>
constexpr int from(int byte) {
    return conversion<I>.from[byte];
}

// The map of a conversion of `Source` bytes to `Destination` bytes.
template <size_t I, int Source, int... Byte>
consteval auto map_of(std::integer_sequence<int, Byte...>) {
    return Map<Source, from<I>(Byte)...>{};
}
template <size_t I, int Source, int Destination = conversion<I>.destination_bytes>
using MapOf = decltype(map_of<I, Source>(std::make_integer_sequence<int, Destination>{}));

template <size_t I>
constexpr int pixel_bytes = conversion<I>.stored / 8;

// Where the one value of a pixel is read.
template <size_t I>
consteval auto grey_of() {
    constexpr const Conversion& c = conversion<I>;
    if constexpr (c.storage == Storage::bytes)
        return Is<Grey8>{};
    else if constexpr (c.storage == Storage::words)
        return Is<Grey16>{};
    else if constexpr (c.storage == Storage::packed_most)
        return Is<Packed12Msb>{};
    else if constexpr (c.storage == Storage::packed_least)
        return Is<Packed<c.stored, c.group>>{};
}
template <size_t I>
using GreyOf = typename decltype(grey_of<I>())::Type;

template <size_t I>
consteval auto word_of_channels() {
    constexpr const Conversion& c = conversion<I>;
    if constexpr (c.one_value)
        return Is<GreyWord<GreyOf<I>, c.six_green>>{};
    else if constexpr (c.storage == Storage::fields)
        return Is<ThirtyWord<from<I>(2) == 2, c.six_green>>{};
    else
        return Is<ColourWord<pixel_bytes<I>, from<I>(2), from<I>(1), from<I>(0), c.six_green>>{};
}

template <size_t I>
consteval auto thirty_of_channels() {
    if constexpr (conversion<I>.storage == Storage::bytes)
        return Is<Thirty<MapOf<I, pixel_bytes<I>>>>{};
    else
        return Is<DeepThirty<pixel_bytes<I>, from<I>(0), from<I>(1), from<I>(2)>>{};
}

// The type that makes conversion I. A rule that is not named here has none, which ends the build.
template <size_t I>
consteval auto rule_of() {
    constexpr const Conversion& c = conversion<I>;
    if constexpr (c.rule == Rule::repack)
        return Is<Bytes<MapOf<I, pixel_bytes<I>>>>{};
    else if constexpr (c.rule == Rule::narrow && c.storage == Storage::fields)
        return Is<ThirtyBytes<MapOf<I, pixel_bytes<I>>>>{};
    else if constexpr (c.rule == Rule::narrow)
        return Is<NarrowBytes<MapOf<I, pixel_bytes<I>>>>{};
    else if constexpr (c.rule == Rule::word)
        return word_of_channels<I>();
    else if constexpr (c.rule == Rule::flagged)
        return Is<FlaggedChannel<from<I>(0), from<I>(2)>>{};
    else if constexpr (c.rule == Rule::thirty)
        return thirty_of_channels<I>();
    else if constexpr (c.rule == Rule::widen)
        return Is<ThirtyToBgr48>{};
    else if constexpr (c.rule == Rule::widen_next)
        return Is<ThirtyToRgb48>{};
    else if constexpr (c.rule == Rule::exchange)
        return Is<ThirtyExchanged>{};
    else if constexpr (c.rule == Rule::yuv)
        return Is<Yuv<MapOf<I, 3>>>{};
    else if constexpr (c.rule == Rule::unpack)
        return Is<Unpacked<c.stored, c.group>>{};
    else if constexpr (c.destination_bytes == 3 &&
                       (c.rule == Rule::grey || c.rule == Rule::low_bits))
        return Is<GreyThree<GreyOf<I>>>{};
    else if constexpr (c.rule == Rule::grey || c.rule == Rule::low_bits)
        return Is<GreyFour<GreyOf<I>>>{};
}

}  // namespace
}  // namespace trv::TRV_LEVEL
