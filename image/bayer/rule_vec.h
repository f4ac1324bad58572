// The rules of image/bayer/rule.h for a vector of pixels x, x + 1, ...: every lane
// computes what it would be as a green site and as a red or blue site, and the two kinds alternate.
#pragma once

#include <type_traits>

#include "image/bayer/average.h"
#include "image/bayer/span.h"
#include "image/simd/vec.h"

namespace trv::TRV_LEVEL {
namespace {

// What a pixel is as a green site (own, beside, vertical are green, row and other colour) and as a
// red or blue one (plus, own, cross).
template <typename V>
struct Sites {
    V own, beside, vertical, plus, cross;
};

// Green sites and the others alternate. Which comes first in a vector depends on the line and on
// whether the vector begins at an odd or an even place.
struct MaskedParity {
    TRV_INLINE MaskedParity(bool green_first, size_t x)
        : green_site_first(green_first == (x % 2 == 0)),
          colour_sites(green_site_first ? 0xAAAAAAAAAAAAAAAA : 0x5555555555555555) {}

    template <typename T>
    TRV_INLINE T first_of(const T& green_site, const T& colour_site) const {
        return green_site_first ? green_site : colour_site;
    }
    template <typename T>
    TRV_INLINE T second_of(const T& green_site, const T& colour_site) const {
        return green_site_first ? colour_site : green_site;
    }
    template <typename V>
    TRV_INLINE V in_place(V green_site, V colour_site) const {
        return select(colour_sites, colour_site, green_site);
    }

    bool green_site_first;
    uint64_t colour_sites;
};
// For vectors that all begin at odd places.
template <bool GreenFirst>
struct FixedParity {
    TRV_INLINE FixedParity(bool, size_t) {}

    template <typename T>
    TRV_INLINE static T first_of(const T& green_site, const T& colour_site) {
        return GreenFirst ? colour_site : green_site;
    }
    template <typename T>
    TRV_INLINE static T second_of(const T& green_site, const T& colour_site) {
        return GreenFirst ? green_site : colour_site;
    }
    template <typename V>
    TRV_INLINE static V in_place(V green_site, V colour_site) {
        return alternate(first_of(green_site, colour_site), second_of(green_site, colour_site));
    }
};

template <bool GreenFirst>
using SiteParity = std::conditional_t<has_lane_masks, MaskedParity, FixedParity<GreenFirst>>;

// Which of the three kinds of colours of a mosaic line a channel of the picture is.
template <bool RowIsRed, typename C>
TRV_INLINE Bgr<C> channels(C green, C row, C other) {
    return RowIsRed ? Bgr<C>{other, green, row} : Bgr<C>{row, green, other};
}

// Colours of the pixels that are green sites, and of those that are not.
template <bool RowIsRed, typename V>
TRV_INLINE Bgr<V> green_sites(const Sites<V>& s) {
    return channels<RowIsRed>(s.own, s.beside, s.vertical);
}
template <bool RowIsRed, typename V>
TRV_INLINE Bgr<V> colour_sites(const Sites<V>& s) {
    return channels<RowIsRed>(s.plus, s.own, s.cross);
}

template <bool RowIsRed, typename V, typename T>
TRV_INLINE Bgr<V> joined(const Sites<V>& s, const T& parity) {
    const Bgr<V> green = green_sites<RowIsRed>(s), colour = colour_sites<RowIsRed>(s);
    return {parity.in_place(green.b, colour.b), parity.in_place(green.g, colour.g),
            parity.in_place(green.r, colour.r)};
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
    return keep_in_register(load<V>(line + column * sizeof(V{}[0])));
}

// The samples of one line around the pixels of a vector.
template <typename V>
struct LineSamples {
    TRV_INLINE LineSamples(const uint8_t* line, size_t x)
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
    template <typename T>
    TRV_INLINE static Sites<V> sites(const bayer::Lines& l, size_t x, const T&) {
        const V left = samples<V>(l.line, x - 1);
        return {samples<V>(l.line, x), left, samples<V>(l.above, x), left,
                samples<V>(l.above, x - 1)};
    }
};

// The average of the samples above and below each pixel, out of those to its left and right where
// that is cheaper than from the lines.
template <typename A, typename V>
TRV_INLINE A upright(const LineSamples<V>& above, const LineSamples<V>& below) {
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

    template <typename T>
    TRV_INLINE static Sites<V> sites(const bayer::Lines& l, size_t x, const T&) {
        const LineSamples<V> line(l.line, x), above(l.above, x), below(l.below, x);
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

// Where lanes can be chosen at no cost, the means of two and of four middle samples are made in one
// step for all sites.
template <typename V, typename Mean>
struct MixedMedians {
    using Two = Median<Mean>;
    using Four = MiddleOfFour<Mean>;
    static constexpr SumBits bits{Two::bits_of_two, Two::bits_of_two, Two::bits_of_four,
                                  Two::bits_of_four};

    template <typename T>
    TRV_INLINE static V mean(const Two& at_green, const Four& at_colour, const T& parity) {
        return Four{parity.in_place(at_green.low, at_colour.low),
                    parity.in_place(at_green.high, at_colour.high)}
            .value();
    }
    template <typename T>
    TRV_INLINE static Sites<V> sites(const bayer::Lines& l, size_t x, const T& parity) {
        const LineSamples<V> line(l.line, x), above(l.above, x), below(l.below, x);
        const Two beside = Two::of(line.left, line.right), upright_ = upright<Two>(above, below);
        const Two left = Two::of(above.left, below.left), right = Two::of(above.right, below.right);
        const V beside_or_plus = mean(beside, Two::both(beside, upright_), parity);
        const V vertical_or_cross = mean(upright_, Two::both(left, right), parity);
        return {line.own, beside_or_plus, vertical_or_cross, beside_or_plus, vertical_or_cross};
    }
};

template <typename V, typename Averages>
struct MediansRule : MiddleRule<V, Averages> {};
template <typename V, typename Mean>
struct MediansRule<V, All<Median<Mean>>>
    : std::conditional_t<has_lane_masks, MixedMedians<V, Mean>, MiddleRule<V, All<Median<Mean>>>> {
};

template <typename V, typename Averages>
struct Rule<bayer::medians, V, Averages> : MediansRule<V, Averages> {};

template <typename V, typename Averages>
struct Rule<bayer::edge_means, V, Averages> {
    using Green = typename Averages::Green;
    using Beside = typename Averages::RowColour;
    using Other = typename Averages::Other;
    static constexpr SumBits bits{Beside::bits_of_two, 0, Green::bits_of_two, Other::bits_of_two};

    template <typename T>
    TRV_INLINE static Sites<V> sites(const bayer::Lines& l, size_t x, const T&) {
        const LineSamples<V> line(l.line, x), beyond(l.above, x);
        return {line.own, Beside::of(line.left, line.right).value(), beyond.own,
                Green::of(line.left, line.right).value(),
                Other::of(beyond.left, beyond.right).value()};
    }
};

// The average that a rule's colours are, by a kind of mean.
template <bayer::SpanRule M, typename Mean>
using Average = std::conditional_t<M == bayer::medians, Median<Mean>, Mean>;

template <bayer::SpanRule M, typename V>
using Exact = Average<M, ExactMean<V>>;

}  // namespace
}  // namespace trv::TRV_LEVEL
