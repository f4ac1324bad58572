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
    TRV_INLINE static V mean(V a, V b) { return ceil_mean(a, b) - ((a ^ b) & splat<V>(1)); }

    // With h = floor of a pair's mean and l its lost half, the sum of four over four is the mean of
    // the two h, rounded up only when both halves were lost.
    TRV_INLINE static V mean(V a, V b, V c, V d) {
        const V lost_ab = a ^ b, lost_cd = c ^ d;
        const V ab = ceil_mean(a, b) - (lost_ab & splat<V>(1));
        const V cd = ceil_mean(c, d) - (lost_cd & splat<V>(1));
        return ceil_mean(ab, cd) - ((ab ^ cd) & ~(lost_ab & lost_cd) & splat<V>(1));
    }
    TRV_INLINE static V two(V a, V b, unsigned shift) { return reduced(mean(a, b), shift); }
    TRV_INLINE static V four(V a, V b, V c, V d, unsigned shift) { return reduced(mean(a, b, c, d), shift); }
};

// Sums in 16 bits that may wrap: enough where only bits shift + 2 to shift + 9 are kept and these
// lie below bit 16.
struct Wrapping {
    TRV_INLINE static U16 two(U16 a, U16 b, unsigned shift) { return shift_right(a + b, shift + 1); }
    TRV_INLINE static U16 four(U16 a, U16 b, U16 c, U16 d, unsigned shift) {
        return shift_right(a + b + c + d, shift + 2);
    }
};

// Samples around the pixels of a vector.
template <typename V>
struct Around {
    static constexpr size_t bytes = sizeof(V{}[0]);
    TRV_INLINE Around(const bayer::Line& line, size_t first) : lines(line), x(first) {}

    TRV_INLINE V at(const uint8_t* line, size_t column) const { return load<V>(line + column * bytes); }
    TRV_INLINE V own() const { return at(lines.line, x); }
    TRV_INLINE V left() const { return at(lines.line, x - 1); }
    TRV_INLINE V right() const { return at(lines.line, x + 1); }
    TRV_INLINE V above() const { return at(lines.above, x); }
    TRV_INLINE V above_left() const { return at(lines.above, x - 1); }
    TRV_INLINE V above_right() const { return at(lines.above, x + 1); }
    TRV_INLINE V below() const { return at(lines.below, x); }
    TRV_INLINE V below_left() const { return at(lines.below, x - 1); }
    TRV_INLINE V below_right() const { return at(lines.below, x + 1); }

    const bayer::Line& lines;
    size_t x;
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
    TRV_INLINE static Colours<V> colours(const bayer::Line& line, size_t x) {
        const Around<V> a(line, x);
        const V green = green_sites<V, GreenFirst>();
        const V left = reduced(a.left(), line.shift), own = reduced(a.own(), line.shift);
        return {choose(green, own, left), choose(green, left, own),
                reduced(choose(green, a.above(), a.above_left()), line.shift)};
    }
};

template <typename V, bool GreenFirst, typename Arithmetic>
struct Rule<bayer::means, V, GreenFirst, Arithmetic> {
    TRV_INLINE static Colours<V> colours(const bayer::Line& line, size_t x) {
        const Around<V> a(line, x);
        const unsigned s = line.shift;
        const V green = green_sites<V, GreenFirst>(), own = reduced(a.own(), s);
        const V plus = Arithmetic::four(a.left(), a.right(), a.above(), a.below(), s);
        const V cross =
            Arithmetic::four(a.above_left(), a.above_right(), a.below_left(), a.below_right(), s);
        return {choose(green, own, plus),
                choose(green, Arithmetic::two(a.left(), a.right(), s), own),
                choose(green, Arithmetic::two(a.above(), a.below(), s), cross)};
    }
};

template <typename V, typename Arithmetic>
TRV_INLINE V median(V a, V b, V c, V d, unsigned shift) {
    return Arithmetic::two(max(min(a, b), min(c, d)), min(max(a, b), max(c, d)), shift);
}

template <typename V, bool GreenFirst, typename Arithmetic>
struct Rule<bayer::medians, V, GreenFirst, Arithmetic> {
    TRV_INLINE static Colours<V> colours(const bayer::Line& line, size_t x) {
        const Around<V> a(line, x);
        const unsigned s = line.shift;
        const V green = green_sites<V, GreenFirst>(), own = reduced(a.own(), s);
        const V plus = median<V, Arithmetic>(a.left(), a.right(), a.above(), a.below(), s);
        const V cross = median<V, Arithmetic>(a.above_left(), a.above_right(), a.below_left(),
                                              a.below_right(), s);
        return {choose(green, own, plus),
                choose(green, Arithmetic::two(a.left(), a.right(), s), own),
                choose(green, Arithmetic::two(a.above(), a.below(), s), cross)};
    }
};

template <typename V, bool GreenFirst, typename Arithmetic>
struct Rule<bayer::edge_means, V, GreenFirst, Arithmetic> {
    TRV_INLINE static Colours<V> colours(const bayer::Line& line, size_t x) {
        const Around<V> a(line, x);
        const unsigned s = line.shift;
        const V green = green_sites<V, GreenFirst>(), own = reduced(a.own(), s);
        const V beside = Arithmetic::two(a.left(), a.right(), s);
        const V cross = Arithmetic::two(a.above_left(), a.above_right(), s);
        return {choose(green, own, beside), choose(green, beside, own),
                choose(green, reduced(a.above(), s), cross)};
    }
};

}  // namespace
}  // namespace trv::TRV_LEVEL
