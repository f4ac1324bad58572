// Medians of 8-bit samples in pairs, as in image/bayer/rule_pairs.h. Samples are sorted where they
// lie, two lines or two places at a time; a colour goes from there to its place in the pixel in one
// shift.
#pragma once

#include "image/bayer/rule_pairs.h"

namespace trv::TRV_LEVEL {
namespace {

// Words that hold a colour's 8 bits above `Below` others, and above these nothing if `Alone`.
template <unsigned Below, bool Alone>
struct Placed {
    // In a 5-6-5 word.
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
    // As a byte of a word whose other byte is 0.
    TRV_INLINE U16 lower() const {
        const U16 moved = v >> uint16_t{Below};
        return Alone ? moved : moved & splat<U16>(0x00FF);
    }
    TRV_INLINE U16 upper() const {
        const U16 moved = Below < 8 ? v << uint16_t{8 - Below} : v;
        return Below == 0 ? moved : moved & splat<U16>(0xFF00);
    }

    U16 v;
};

using FirstByte = Placed<0, false>;
using SecondByte = Placed<8, true>;
using Sum = Placed<1, true>;

// One pixel of each pair, its colours in different places.
template <bool RowIsRed, typename G, typename R, typename O>
struct Pixel {
    TRV_INLINE auto blue() const {
        if constexpr (RowIsRed)
            return other;
        else
            return row;
    }
    TRV_INLINE auto red() const {
        if constexpr (RowIsRed)
            return row;
        else
            return other;
    }
    TRV_INLINE U16 word() const { return red().top() | green.middle() | blue().bottom(); }

    G green;
    R row;
    O other;
};

template <bool RowIsRed, typename G, typename R, typename O>
TRV_INLINE Pixel<RowIsRed, G, R, O> pixel(G green, R row, O other) {
    return {green, row, other};
}

template <typename P, typename Q>
TRV_INLINE U8 bytes_of(const P& p, const Q& q) {
    return as<U8>(p.lower() | q.upper());
}

template <bayer::SpanLayout L, typename P, typename Q>
TRV_INLINE void store_pairs(uint8_t* out, const P& p, const Q& q) {
    if constexpr (L == bayer::rgb16)
        store_in_turn(out, p.word(), q.word());
    else if constexpr (L == bayer::bgr24)
        store_three_words(out, p.blue().lower() | p.green.upper(),
                          p.red().lower() | q.blue().upper(), q.green.lower() | q.red().upper());
    else
        store_three_of_four(out, bytes_of(p.blue(), q.blue()), bytes_of(p.green, q.green),
                            bytes_of(p.red(), q.red()));
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
    TRV_INLINE static void step(const bayer::Lines& l, size_t x, uint8_t* out,
                                const SiteParity<GreenFirst>&) {
        const U8 left = samples<U8>(l.line, x - 1), right = samples<U8>(l.line, x + 1);
        const SecondByte own_p{as<U16>(left)};
        const FirstByte own_q{as<U16>(right)};
        const Sorted beside = Sorted::of(left, right);
        const Sorted before = Sorted::of(samples<U8>(l.above, x - 1), samples<U8>(l.below, x - 1));
        const Sorted behind = Sorted::of(samples<U8>(l.above, x + 1), samples<U8>(l.below, x + 1));
        const auto cross = Sorted::both(before, behind);
        if constexpr (GreenFirst) {
            const auto plus = Sorted::both(beside, second_bytes(before));
            store_pairs<L>(
                out,
                pixel<RowIsRed>(sum_of_alone(plus.low, plus.high), own_p,
                                sum_of_first(cross.low, cross.high)),
                pixel<RowIsRed>(own_q, mean<SecondByte>(beside), mean<FirstByte>(behind)));
        } else {
            const auto plus = Sorted::both(second_bytes(beside), behind);
            store_pairs<L>(
                out, pixel<RowIsRed>(own_p, mean<FirstByte>(beside), mean<SecondByte>(before)),
                pixel<RowIsRed>(sum_of_alone(plus.low, plus.high), own_q,
                                sum_of_second(cross.low, cross.high)));
        }
    }
};

}  // namespace
}  // namespace trv::TRV_LEVEL
