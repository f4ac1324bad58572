// What two samples, or four, come to: three kinds of average with the same four words.
//   of(a, b)       of two samples            both(p, q)   of the four samples of two averages
//   between(l, r)  of the samples in the middle of what l and r are made of
//   value()        the average; below it stand bits_of_two, or bits_of_four, bits of the sum
#pragma once

#include "image/simd/vec.h"

namespace trv::TRV_LEVEL {
namespace {

// Exact in the width of the samples. The processor's means are rounded up; wherever that lost a
// half, the whole is one too large, once.
template <typename V>
struct ExactMean {
    using Vector = V;
    static constexpr unsigned bits_of_two = 0, bits_of_four = 0;
    V up, lost;

    TRV_INLINE static ExactMean of(V a, V b) { return {ceil_mean(a, b), rounding(a, b)}; }
    TRV_INLINE static ExactMean both(const ExactMean& p, const ExactMean& q) {
        return {ceil_mean(p.up, q.up), rounding(p.up, q.up, p.lost, q.lost)};
    }
    TRV_INLINE static ExactMean between(const ExactMean& l, const ExactMean& r) {
        return {trv::TRV_LEVEL::between(l.up, r.up), trv::TRV_LEVEL::between(l.lost, r.lost)};
    }
    TRV_INLINE V value() const { return rounded_down(up, lost); }
    // One less of the higher one, where that is not zero as both are then, rounds down.
    TRV_INLINE static V of_sorted(V low, V high) { return ceil_mean(low, less_one(high)); }
};

// Sums in 16 bits that may wrap: enough where only 8 bits are kept and these lie below bit 16.
template <typename V>
struct WrappingMean {
    using Vector = V;
    static constexpr unsigned bits_of_two = 1, bits_of_four = 2;
    V sum;

    TRV_INLINE static WrappingMean of(V a, V b) { return {a + b}; }
    TRV_INLINE static WrappingMean both(const WrappingMean& p, const WrappingMean& q) {
        return {p.sum + q.sum};
    }
    TRV_INLINE static WrappingMean between(const WrappingMean& l, const WrappingMean& r) {
        return {trv::TRV_LEVEL::between(l.sum, r.sum)};
    }
    TRV_INLINE V value() const { return sum; }
    TRV_INLINE static V of_sorted(V low, V high) { return low + high; }
};

// Exact in the upper byte of 16-bit samples, which is all that is kept of them; what the lower byte
// holds is no more than 1. A rounded-up mean is at most one too large, and the lower bits of the
// mean are those of the sum, which may wrap: less them, only that one is left.
template <typename V, unsigned Bits>
struct UpperByteMean {
    using Vector = V;
    static constexpr unsigned bits_of_two = 0, bits_of_four = 0;
    V up, sum;

    TRV_INLINE static UpperByteMean of(V a, V b) { return {ceil_mean(a, b), a + b}; }
    TRV_INLINE static UpperByteMean<V, 2> both(const UpperByteMean& p, const UpperByteMean& q) {
        return {ceil_mean(p.up, q.up), p.sum + q.sum};
    }
    TRV_INLINE V value() const {
        if constexpr (Bits == 1) return up - (sum & splat<V>(1));
        return up - (sum >> Bits & splat<V>(0xFF));
    }
    TRV_INLINE static V of_sorted(V low, V high) { return ExactMean<V>::of_sorted(low, high); }
};

// The two middle ones of four samples, in no order, and their mean by another kind of mean.
template <typename Mean>
struct MiddleOfFour {
    using V = typename Mean::Vector;
    V low, high;
    TRV_INLINE V value() const { return Mean::of(low, high).value(); }
};

// Of two samples, which are sorted.
template <typename Mean>
struct Median {
    using Vector = typename Mean::Vector;
    using V = Vector;
    static constexpr unsigned bits_of_two = Mean::bits_of_two, bits_of_four = Mean::bits_of_two;
    V low, high;

    TRV_INLINE static Median of(V a, V b) { return {min(a, b), max(a, b)}; }
    TRV_INLINE static MiddleOfFour<Mean> both(const Median& p, const Median& q) {
        return {max(p.low, q.low), min(p.high, q.high)};
    }
    TRV_INLINE static Median between(const Median& l, const Median& r) {
        return {trv::TRV_LEVEL::between(l.low, r.low), trv::TRV_LEVEL::between(l.high, r.high)};
    }
    TRV_INLINE V value() const { return Mean::of_sorted(low, high); }
};

}  // namespace
}  // namespace trv::TRV_LEVEL
