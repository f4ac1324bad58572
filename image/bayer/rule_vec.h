// The rules of image/bayer/rule.h for a vector of pixels x, x + 1, ... with x odd.
//
// 8-bit samples: as words of two bytes, a load at x holds in each word a pair of pixels, the first
// in the low byte. A load at x - 1 holds the left neighbour of the pair's first pixel and that
// pixel. 16-bit samples: one word per pixel; a mask tells the pairs' second pixels.
#pragma once

#include "image/bayer/span.h"
#include "image/level/vec.h"

namespace trv::TRV_LEVEL {
namespace {

template <typename V>
struct Colours {
    V green;
    V row;
    V other;
};

// The first and the second bytes of the pairs, as words.
inline U16 low(U8 v) {
    return as<U16>(v) & splat<U16>(0xFF);
}
inline U16 high(U8 v) {
    return as<U16>(v) >> 8;
}

// Pairs of the low byte of one and the high byte of another vector.
inline U8 pair(U8 first, U8 second) {
    const U16 mask = splat<U16>(0xFF);
    return as<U8>((as<U16>(first) & mask) | (as<U16>(second) & ~mask));
}

// Pairs of twice the high byte.
inline U8 twice_high(U8 v) {
    const U16 words = as<U16>(v);
    return as<U8>((words & splat<U16>(0xFF00)) | words >> 8);
}

// Nearest, from bytes at x - 1 and x of the line and of the line above.
template <bool GreenFirst>
inline Colours<U8> nearest(U8 left, U8 own, U8 above_left, U8 above) {
    if constexpr (GreenFirst)
        return {pair(left, own), twice_high(left), pair(above_left, above)};
    else
        return {twice_high(left), pair(left, own), twice_high(above_left)};
}

template <bayer::Method M, bool GreenFirst>
struct Rule8 {
    static Colours<U8> colours(const bayer::Line& l, size_t x) {
        return nearest<GreenFirst>(load<U8>(l.line + x - 1), load<U8>(l.line + x),
                                   load<U8>(l.above + x - 1), load<U8>(l.above + x));
    }
};

// 0 in the pairs' first pixels, all bits in their second pixels.
inline U16 second_pixels() {
    return as<U16>(splat<U32>(0xFFFF0000));
}

inline U16 choose(U16 mask, U16 where_set, U16 elsewhere) {
    return (mask & where_set) | (~mask & elsewhere);
}

template <bayer::Method M, bool GreenFirst>
struct Rule16 {
    static Colours<U16> colours(const bayer::Line& l, size_t x) {
        const auto copy = [&](const uint8_t* line, size_t column) {
            return shift_right(load<U16>(line + 2 * column), l.shift);
        };
        const U16 left = copy(l.line, x - 1), own = copy(l.line, x);
        const U16 above_left = copy(l.above, x - 1), above = copy(l.above, x);
        const U16 green_site = GreenFirst ? second_pixels() : ~second_pixels();
        return {choose(green_site, own, left), choose(green_site, left, own),
                choose(green_site, above, above_left)};
    }
};

}  // namespace
}  // namespace trv::TRV_LEVEL
