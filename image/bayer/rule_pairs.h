// The rules for 8-bit samples in pairs: a 16-bit lane holds a pixel pair p, q = p + 1, p odd. A
// load at p - 1 has the left neighbour of p below and p above in each lane, a load at p + 1 has q
// and its right neighbour: two loads of a line give all that a pair needs of it, and only the sites
// that need a mean of four compute one.
#pragma once

#include "image/bayer/rule_vec.h"

namespace trv::TRV_LEVEL {
namespace {

// The colours of the pairs' first and second pixels, as words.
struct Pairs {
    Colours<U16> first, second;
};

// Samples p - 1 (or p + 1) and p (or p + 2) of the lanes.
struct Lane {
    TRV_INLINE explicit Lane(U8 v) : low(trv::TRV_LEVEL::low(v)), high(trv::TRV_LEVEL::high(v)) {}
    U16 low, high;
};

// What a pair sees of a line: p - 1, p from the left load, q, q + 1 from the right one.
struct PairLine {
    TRV_INLINE PairLine(const uint8_t* line, size_t x)
        : left(samples<U8>(line, x - 1)), right(samples<U8>(line, x + 1)) {}
    TRV_INLINE U16 before_p() const { return left.low; }
    TRV_INLINE U16 p() const { return left.high; }
    TRV_INLINE U16 q() const { return right.low; }
    TRV_INLINE U16 behind_q() const { return right.high; }

    Lane left, right;
};

template <bayer::SpanRule M, bool GreenFirst>
struct PairRule;

// Copies of one sample serve both pixels of a pair wherever the green or the red and blue site of
// the pair owns it.
template <bool GreenFirst>
struct PairRule<bayer::nearest, GreenFirst> {
    TRV_INLINE static Pairs colours(const bayer::Line& l, size_t x) {
        const Lane line(samples<U8>(l.line, x - 1)), above(samples<U8>(l.above, x - 1));
        const U16 q = high(samples<U8>(l.line, x));
        if constexpr (GreenFirst)
            return {{line.low, line.high, above.low},
                    {q, line.high, high(samples<U8>(l.above, x))}};
        else
            return {{line.high, line.low, above.high}, {line.high, q, above.high}};
    }
};

template <bool GreenFirst>
struct PairRule<bayer::means, GreenFirst> {
    TRV_INLINE static Pairs colours(const bayer::Line& l, size_t x) {
        const PairLine line(l.line, x), above(l.above, x), below(l.below, x);
        if constexpr (GreenFirst) {
            const U16 vertical_p = above.p() + below.p(), vertical_q = above.q() + below.q();
            const U16 cross = above.before_p() + below.before_p() + vertical_q;
            return {{(line.before_p() + line.q() + vertical_p) >> 2, line.p(), cross >> 2},
                    {line.q(), (line.p() + line.behind_q()) >> 1, vertical_q >> 1}};
        } else {
            const U16 vertical_p = above.p() + below.p(), vertical_q = above.q() + below.q();
            const U16 cross = vertical_p + above.behind_q() + below.behind_q();
            return {{line.p(), (line.before_p() + line.q()) >> 1, vertical_p >> 1},
                    {(line.p() + line.behind_q() + vertical_q) >> 2, line.q(), cross >> 2}};
        }
    }
};

template <bool GreenFirst>
struct PairRule<bayer::edge_means, GreenFirst> {
    TRV_INLINE static Pairs colours(const bayer::Line& l, size_t x) {
        const PairLine line(l.line, x), near(l.above, x);
        const U16 beside_p = (line.before_p() + line.q()) >> 1;
        const U16 beside_q = (line.p() + line.behind_q()) >> 1;
        if constexpr (GreenFirst)
            return {{beside_p, line.p(), (near.before_p() + near.q()) >> 1},
                    {line.q(), beside_q, near.q()}};
        else
            return {{line.p(), beside_p, near.p()},
                    {beside_q, line.q(), (near.p() + near.behind_q()) >> 1}};
    }
};

TRV_INLINE U8 joined(U16 first, U16 second) {
    return as<U8>(first | second << 8);
}

TRV_INLINE Colours<U8> joined(const Pairs& pairs) {
    return {joined(pairs.first.green, pairs.second.green),
            joined(pairs.first.row, pairs.second.row),
            joined(pairs.first.other, pairs.second.other)};
}

}  // namespace
}  // namespace trv::TRV_LEVEL
