// The rule of raw/demosaic/gradient.h in vectors. Lanes are twice as wide as samples and have a
// pair of pixels each: sums have room there, and each of the pair is computed as the site that it
// is.
#pragma once

#include "raw/demosaic/span_vec.h"

namespace trv::TRV_LEVEL {
namespace {

template <bayer::Depth D>
struct PairLanes {
    using Unsigned = U16;
    using Signed = I16;
    using Samples = U8;
};
template <>
struct PairLanes<bayer::depth16> {
    using Unsigned = U32;
    using Signed = I32;
    using Samples = U16;
};

// The first samples of pairs, and the second ones.
template <bayer::Depth D>
struct Pairs {
    using U = typename PairLanes<D>::Unsigned;
    using I = typename PairLanes<D>::Signed;

    TRV_INLINE static Pairs at(const uint8_t* line, size_t x, int offset) {
        constexpr unsigned half = sizeof(U{}[0]) * 4;
        const uint8_t* first = line + x * (half / 8);
        const U v = keep_in_register(load<U>(first + offset * static_cast<int>(half / 8)));
        return {as<I>(v & splat<U>((1u << half) - 1)), as<I>(v >> static_cast<int>(half))};
    }
    TRV_INLINE Pairs operator+(const Pairs& o) const {
        return {first + o.first, second + o.second};
    }

    I first, second;
};

// Sums of the samples around sites, as GradientWindow has them.
template <typename I>
struct Around {
    I own, beside, beside_far, upright, upright_far, diagonal;
};

template <typename I>
struct GradientColours {
    I green, row, other;
};

template <typename I>
TRV_INLINE GradientColours<I> green_site(const Around<I>& a) {
    const I common = (a.own << 2) + a.own - a.diagonal + 4;
    const I row = common + (a.beside << 2) - a.beside_far;
    const I other = common + (a.upright << 2) - a.upright_far;
    return {a.own, (row + row + a.upright_far) >> 4, (other + other + a.beside_far) >> 4};
}

template <typename I>
TRV_INLINE GradientColours<I> colour_site(const Around<I>& a) {
    const I far = a.beside_far + a.upright_far, twice = a.own + a.own;
    const I green = twice + a.beside + a.upright;
    const I other = twice + a.own + a.diagonal - far;
    return {(green + green - far + 4) >> 3, a.own, ((other << 2) + far + 8) >> 4};
}

// A channel of pairs as samples; what exceeds a sample of a byte or of a word is cut already.
template <typename I, typename V>
TRV_INLINE void put_channel(I first, I second, V most, V* channel) {
    *channel = saturate_in_turn(first, second);
    if constexpr (sizeof(V{}[0]) == 2) *channel = min(*channel, most);
}

// Pixels x, x + 1, ...: a vector of samples of them.
template <bayer::Depth D, bool GreenFirst, bool RowIsRed, typename V = SampleVector<D>>
TRV_INLINE Bgr<V> gradient_colours(const raw::GradientLines& l, size_t x, V most) {
    using P = Pairs<D>;
    const P left = P::at(l.line[2], x, -2), own = P::at(l.line[2], x, 0),
            right = P::at(l.line[2], x, 2);
    const P upright_left = P::at(l.line[1], x, -1) + P::at(l.line[3], x, -1);
    const P upright_right = P::at(l.line[1], x, 1) + P::at(l.line[3], x, 1);
    const P far = P::at(l.line[0], x, 0) + P::at(l.line[4], x, 0);
    const Around<typename P::I> first{own.first,
                                      left.second + own.second,
                                      left.first + right.first,
                                      upright_left.second,
                                      far.first,
                                      upright_left.first + upright_right.first};
    const Around<typename P::I> second{own.second,
                                       own.first + right.first,
                                       left.second + right.second,
                                       upright_right.first,
                                       far.second,
                                       upright_left.second + upright_right.second};
    const auto a = GreenFirst ? green_site(first) : colour_site(first);
    const auto b = GreenFirst ? colour_site(second) : green_site(second);
    V green, row, other;
    put_channel(a.green, b.green, most, &green);
    put_channel(a.row, b.row, most, &row);
    put_channel(a.other, b.other, most, &other);
    return channels<RowIsRed>(green, row, other);
}

TRV_INLINE Bgr<U8> narrowed(const Bgr<U16>& low, const Bgr<U16>& high, unsigned shift) {
    const auto both = [&](U16 a, U16 b) TRV_INLINE_LAMBDA {
        return narrow(shift_right(a, shift), shift_right(b, shift));
    };
    return {both(low.b, high.b), both(low.g, high.g), both(low.r, high.r)};
}

template <raw::GradientLayout L>
TRV_INLINE void store_as_bytes(uint8_t* out, const Bgr<U8>& c) {
    if constexpr (L == raw::three_bytes)
        store_three(out, c.b, c.g, c.r);
    else
        store_three_of_four(out, c.b, c.g, c.r);
}

// Pixels that one step makes.
template <bayer::Depth D, raw::GradientLayout L>
constexpr size_t gradient_step = D == bayer::depth8 || L != raw::three_words ? sizeof(U8)
                                                                             : sizeof(U16) / 2;

template <bayer::Depth D, raw::GradientLayout L, bool GreenFirst, bool RowIsRed>
TRV_INLINE void make_gradient_step(const raw::GradientLines& l, size_t x, uint8_t* out) {
    const auto most = splat<SampleVector<D>>(l.most);
    const auto colours = [&](size_t at) TRV_INLINE_LAMBDA {
        return gradient_colours<D, GreenFirst, RowIsRed>(l, at, most);
    };
    if constexpr (L == raw::three_words)
        store_as_words(out, colours(x));
    else if constexpr (D == bayer::depth8)
        store_as_bytes<L>(out, colours(x));
    else
        store_as_bytes<L>(out, narrowed(colours(x), colours(x + sizeof(U16) / 2), l.shift));
}

template <raw::GradientLayout L>
constexpr size_t gradient_pixel = L == raw::three_words  ? 6
                                  : L == raw::four_bytes ? 4
                                                         : 3;

template <bayer::Depth D, raw::GradientLayout L, bool GreenFirst, bool RowIsRed>
void gradient(const raw::GradientLines& line) {
    constexpr size_t step = gradient_step<D, L>, pixel = gradient_pixel<L>;
    constexpr size_t sample = sizeof(SampleVector<D>{}[0]);
    if (line.count < step)
        return fallback::demosaic_spans.gradient[D][L][GreenFirst][RowIsRed](line);
    const raw::GradientLines lines = line;
    const size_t last = lines.count - step;
    for (size_t x = 0;; x = x + step < last ? x + step : last) {
        uint8_t* out = lines.out + x * pixel;
        if (lines.memory.fetch_distance != 0) [[likely]] {
            prefetch_ahead<step * pixel>(out, lines.memory.fetch_distance);
            prefetch_ahead<step * sample>(lines.line[4] + x * sample, lines.memory.fetch_distance);
        }
        make_gradient_step<D, L, GreenFirst, RowIsRed>(lines, x, out);
        if (x == last) break;
    }
}

}  // namespace
}  // namespace trv::TRV_LEVEL
