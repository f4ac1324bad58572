// Medians of 8-bit samples as 5-6-5 words, in pairs as in image/bayer/rule_pairs.h. Samples are
// sorted where they lie, two lines or two places at a time; a colour goes from there to its place
// in the word in one shift.
#pragma once

#include "image/bayer/rule_pairs.h"

namespace trv::TRV_LEVEL {
namespace {

// Words that hold a colour's 8 bits above `Below` others, and above these nothing if `Alone`.
template <unsigned Below, bool Alone>
struct Placed {
    TRV_INLINE U16 top() const {
        return (Below < 8 ? v << uint16_t{8 - Below} : v) & splat<U16>(0xF800);
    }
    TRV_INLINE U16 middle() const {
        return (Below < 3 ? v << uint16_t{(3 - Below) & 15} : v >> uint16_t{(Below - 3) & 15}) &
               splat<U16>(0x07E0);
    }
    TRV_INLINE U16 bottom() const {
        const U16 moved = v >> uint16_t{3 + Below};
        return Alone ? moved : moved & splat<U16>(0x001F);
    }

    U16 v;
};

using FirstByte = Placed<0, false>;
using SecondByte = Placed<8, true>;
using Sum = Placed<1, true>;

template <bool RowIsRed, typename G, typename R, typename O>
TRV_INLINE U16 word_of(const G& green, const R& row, const O& other) {
    if constexpr (RowIsRed) return row.top() | green.middle() | other.bottom();
    return other.top() | green.middle() | row.bottom();
}

using Sorted = Median<ExactMean<U8>>;

TRV_INLINE Sum sum_of_first(U8 a, U8 b) {
    return {low(a) + low(b)};
}
TRV_INLINE Sum sum_of_second(U8 a, U8 b) {
    return {high(a) + high(b)};
}
// Where the second bytes of what b is the minimum of are 0.
TRV_INLINE Sum sum_of_alone(U8 a, U8 b) {
    return {low(a) + as<U16>(b)};
}
TRV_INLINE Sorted second_bytes(const Sorted& s) {
    return {as<U8>(high(s.low)), as<U8>(high(s.high))};
}
template <typename Place>
TRV_INLINE Place mean(const Sorted& s) {
    return {as<U16>(s.value())};
}

// The step of a line.
template <bool GreenFirst>
struct PairMedians {
    template <bayer::SpanLayout L, bool RowIsRed>
    TRV_INLINE static void step(const bayer::Line& l, size_t x, uint8_t* out,
                                const Turns<GreenFirst>&) {
        static_assert(L == bayer::rgb16);
        const U8 left = samples<U8>(l.line, x - 1), right = samples<U8>(l.line, x + 1);
        const Sorted beside = Sorted::of(left, right);
        const Sorted before = Sorted::of(samples<U8>(l.above, x - 1), samples<U8>(l.below, x - 1));
        const Sorted behind = Sorted::of(samples<U8>(l.above, x + 1), samples<U8>(l.below, x + 1));
        const auto cross = Sorted::both(before, behind);
        if constexpr (GreenFirst) {
            const auto plus = Sorted::both(beside, second_bytes(before));
            store_in_turn(
                out,
                word_of<RowIsRed>(sum_of_alone(plus.low, plus.high), SecondByte{as<U16>(left)},
                                  sum_of_first(cross.low, cross.high)),
                word_of<RowIsRed>(FirstByte{as<U16>(right)}, mean<SecondByte>(beside),
                                  mean<FirstByte>(behind)));
        } else {
            const auto plus = Sorted::both(second_bytes(beside), behind);
            store_in_turn(
                out,
                word_of<RowIsRed>(SecondByte{as<U16>(left)}, mean<FirstByte>(beside),
                                  mean<SecondByte>(before)),
                word_of<RowIsRed>(sum_of_alone(plus.low, plus.high), FirstByte{as<U16>(right)},
                                  sum_of_second(cross.low, cross.high)));
        }
    }
};

}  // namespace
}  // namespace trv::TRV_LEVEL
