// The rules of image/bayer/rule.h for a vector of pixels x, x + 1, ... with x odd: every lane
// computes what it would be as a green site and as a red or blue site, and the sites take turns.
#pragma once

#include "image/bayer/average.h"
#include "image/bayer/span.h"
#include "image/level/vec.h"

namespace trv::TRV_LEVEL {
namespace {

// What a pixel is as a green site (own, beside, vertical are green, row and other colour) and as a
// red or blue one (plus, own, cross).
template <typename V>
struct Sites {
    V own, beside, vertical, plus, cross;
};

// Which of the three kinds of colours of a mosaic line a channel of the picture is.
template <bool RowIsRed, typename C>
TRV_INLINE Bgr<C> channels(C green, C row, C other) {
    return RowIsRed ? Bgr<C>{other, green, row} : Bgr<C>{row, green, other};
}

// How many bits above the sample's own its averages are: sums are not divided yet.
struct SumBits {
    unsigned beside, vertical, plus, cross;
};

// Which average each colour needs.
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

template <bayer::SpanRule M, typename V, typename Averages>
struct Rule;

template <typename V, typename Averages>
struct Rule<bayer::nearest, V, Averages> {
    static constexpr SumBits bits{0, 0, 0, 0};
    TRV_INLINE static Sites<V> sites(const bayer::Line& l, size_t x) {
        const V left = samples<V>(l.line, x - 1);
        return {samples<V>(l.line, x), left, samples<V>(l.above, x), left,
                samples<V>(l.above, x - 1)};
    }
};

// The average of the samples above and below each pixel, out of those to its left and right where
// that is cheaper than from the lines.
template <typename A, typename V>
TRV_INLINE A upright(const Row<V>& above, const Row<V>& below) {
    if constexpr (has_double_shift)
        return A::between(A::of(above.left, below.left), A::of(above.right, below.right));
    else
        return A::of(above.own, below.own);
}

// Two neighbours and four, above, below and beside.
template <typename V, typename Averages>
struct MiddleRule {
    using Green = typename Averages::Green;
    using Beside = typename Averages::RowColour;
    using Other = typename Averages::Other;
    static constexpr SumBits bits{Beside::bits_of_two, Other::bits_of_two, Green::bits_of_four,
                                  Other::bits_of_four};

    TRV_INLINE static Sites<V> sites(const bayer::Line& l, size_t x) {
        const Row<V> line(l.line, x), above(l.above, x), below(l.below, x);
        const auto plus =
            Green::both(Green::of(line.left, line.right), upright<Green>(above, below));
        const auto cross =
            Other::both(Other::of(above.left, below.left), Other::of(above.right, below.right));
        return {line.own, Beside::of(line.left, line.right).value(),
                upright<Other>(above, below).value(), plus.value(), cross.value()};
    }
};

template <typename V, typename Averages>
struct Rule<bayer::means, V, Averages> : MiddleRule<V, Averages> {};

template <typename V, typename Averages>
struct Rule<bayer::medians, V, Averages> : MiddleRule<V, Averages> {};

template <typename V, typename Averages>
struct Rule<bayer::edge_means, V, Averages> {
    using Green = typename Averages::Green;
    using Beside = typename Averages::RowColour;
    using Other = typename Averages::Other;
    static constexpr SumBits bits{Beside::bits_of_two, 0, Green::bits_of_two, Other::bits_of_two};

    TRV_INLINE static Sites<V> sites(const bayer::Line& l, size_t x) {
        const Row<V> line(l.line, x), near(l.above, x);
        return {line.own, Beside::of(line.left, line.right).value(), near.own,
                Green::of(line.left, line.right).value(), Other::of(near.left, near.right).value()};
    }
};

}  // namespace
}  // namespace trv::TRV_LEVEL
