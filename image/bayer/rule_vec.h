// The rules of image/bayer/rule.h for a vector of pixels x, x + 1, ... with x odd: every lane
// computes what it would be as a green site and as a red or blue site, and a mask chooses.
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

// The first and the second bytes of pairs of bytes, as words.
TRV_INLINE U16 low(U8 v) {
    return as<U16>(v) & splat<U16>(0xFF);
}
TRV_INLINE U16 high(U8 v) {
    return as<U16>(v) >> 8;
}

TRV_INLINE U8 reduced(U8 v, unsigned) {
    return v;
}
TRV_INLINE U16 reduced(U16 v, unsigned shift) {
    return shift_right(v, shift);
}

// Means that never overflow: the processor's rounded-up mean less what it rounded up.
template <typename V>
struct Exact {
    // With h = floor of a pair's mean and l its lost half, the sum of four over four is the mean of
    // the two h, rounded up only when both halves were lost.
    TRV_INLINE static V mean(V a, V b, V c, V d) {
        const V lost_ab = a ^ b, lost_cd = c ^ d;
        const V ab = ceil_mean(a, b) - (lost_ab & splat<V>(1));
        const V cd = ceil_mean(c, d) - (lost_cd & splat<V>(1));
        return ceil_mean(ab, cd) - ((ab ^ cd) & ~(lost_ab & lost_cd) & splat<V>(1));
    }
    TRV_INLINE static V two(V a, V b, unsigned shift) { return reduced(floor_mean(a, b), shift); }
    TRV_INLINE static V four(V a, V b, V c, V d, unsigned shift) {
        return reduced(mean(a, b, c, d), shift);
    }
};

// Sums in 16 bits that may wrap: enough where only bits shift + 2 to shift + 9 are kept and these
// lie below bit 16.
struct Wrapping {
    TRV_INLINE static U16 two(U16 a, U16 b, unsigned shift) {
        return shift_right(a + b, shift + 1);
    }
    TRV_INLINE static U16 four(U16 a, U16 b, U16 c, U16 d, unsigned shift) {
        return shift_right(a + b + c + d, shift + 2);
    }
};

// Which arithmetic each colour needs.
template <typename G, typename R, typename O>
struct Each {
    using Green = G;
    using RowColour = R;
    using Other = O;
};

template <typename A>
using All = Each<A, A, A>;

template <typename V>
TRV_INLINE V samples(const uint8_t* line, size_t column) {
    return held(load<V>(line + column * sizeof(V{}[0])));
}

// The samples of one line around the pixels of a vector.
template <typename V>
struct Row {
    TRV_INLINE Row(const uint8_t* line, size_t x)
        : left(samples<V>(line, x - 1)),
          right(samples<V>(line, x + 1)),
          own(between(left, right, line + x * sizeof(V{}[0]))) {}

    V left, right, own;
};

// Lanes of the second pixels of pairs: odd bytes, or odd words.
TRV_INLINE U8 second_pixels(U8) {
    return as<U8>(splat<U16>(0xFF00));
}
TRV_INLINE U16 second_pixels(U16) {
    return as<U16>(splat<U32>(0xFFFF0000));
}

template <typename V>
TRV_INLINE V choose(V mask, V where_set, V elsewhere) {
    return (mask & where_set) | (~mask & elsewhere);
}

template <typename V, bool GreenFirst>
TRV_INLINE V green_sites() {
    const V second = second_pixels(V{});
    return GreenFirst ? second : ~second;
}

template <bayer::SpanRule M, typename V, bool GreenFirst, typename Arithmetic>
struct Rule;

// Copies are brought to 8 bits before they are chosen: one shift per line read.
template <typename V, bool GreenFirst, typename Arithmetic>
struct Rule<bayer::nearest, V, GreenFirst, Arithmetic> {
    TRV_INLINE static Colours<V> colours(const bayer::Line& l, size_t x) {
        const V green = green_sites<V, GreenFirst>();
        const V left = reduced(samples<V>(l.line, x - 1), l.shift);
        const V own = reduced(samples<V>(l.line, x), l.shift);
        const V other = choose(green, samples<V>(l.above, x), samples<V>(l.above, x - 1));
        return {choose(green, own, left), choose(green, left, own), reduced(other, l.shift)};
    }
};

struct MeanOfFour {
    template <typename Arithmetic, typename V>
    TRV_INLINE static V of(V a, V b, V c, V d, unsigned shift) {
        return Arithmetic::four(a, b, c, d, shift);
    }
};

struct MedianOfFour {
    template <typename Arithmetic, typename V>
    TRV_INLINE static V of(V a, V b, V c, V d, unsigned shift) {
        return Arithmetic::two(max(min(a, b), min(c, d)), min(max(a, b), max(c, d)), shift);
    }
};

// Two neighbours give their mean, four what Four says.
template <typename V, bool GreenFirst, typename Arithmetic, typename Four>
struct MiddleRule {
    using Green = typename Arithmetic::Green;
    using RowColour = typename Arithmetic::RowColour;
    using Other = typename Arithmetic::Other;

    TRV_INLINE static Colours<V> colours(const bayer::Line& l, size_t x) {
        const unsigned s = l.shift;
        const Row<V> line(l.line, x), above(l.above, x), below(l.below, x);
        const V green = green_sites<V, GreenFirst>(), own = reduced(line.own, s);
        const V plus = Four::template of<Green>(line.left, line.right, above.own, below.own, s);
        const V cross =
            Four::template of<Other>(above.left, above.right, below.left, below.right, s);
        return {choose(green, own, plus),
                choose(green, RowColour::two(line.left, line.right, s), own),
                choose(green, Other::two(above.own, below.own, s), cross)};
    }
};

template <typename V, bool GreenFirst, typename A>
struct Rule<bayer::means, V, GreenFirst, A> : MiddleRule<V, GreenFirst, A, MeanOfFour> {};

template <typename V, bool GreenFirst, typename A>
struct Rule<bayer::medians, V, GreenFirst, A> : MiddleRule<V, GreenFirst, A, MedianOfFour> {};

template <typename V, bool GreenFirst, typename Arithmetic>
struct Rule<bayer::edge_means, V, GreenFirst, Arithmetic> {
    TRV_INLINE static Colours<V> colours(const bayer::Line& l, size_t x) {
        const unsigned s = l.shift;
        const Row<V> line(l.line, x), near(l.above, x);
        const V green = green_sites<V, GreenFirst>(), own = reduced(line.own, s);
        const V beside = Arithmetic::RowColour::two(line.left, line.right, s);
        const V cross = Arithmetic::Other::two(near.left, near.right, s);
        return {choose(green, own, beside), choose(green, beside, own),
                choose(green, reduced(near.own, s), cross)};
    }
};

}  // namespace
}  // namespace trv::TRV_LEVEL
