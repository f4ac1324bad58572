// The rows of the vector levels: a vector of bytes at a time, the last one overlapping.
#pragma once

#include "image/field/line.h"
#include "image/field/median6.h"
#include "image/level/vec.h"

namespace trv {

#if defined(TRV_LEVEL_v2)
namespace narrower = scalar;
#elif defined(TRV_LEVEL_v3)
namespace narrower = v2;
#else
namespace narrower = v3;
#endif

namespace TRV_LEVEL {
namespace {

struct Lines {
    const uint8_t* upper;
    const uint8_t* lower;
};

TRV_INLINE U8 floor_mean(U8 a, U8 b) {
    return ceil_mean(a, b) - ((a ^ b) & splat<U8>(1));
}

struct Average {
    TRV_INLINE static field::Row of(const field::Rows& rows, field::Neighbour) {
        return rows.average;
    }

    template <int D>
    TRV_INLINE static U8 at(const Lines& l, size_t k) {
        return floor_mean(load<U8>(l.upper + k), load<U8>(l.lower + k));
    }
};

// 105 a + 75 b is 15 (7 a + 5 b), whose inner part fits 16 bits; 15 t >> 9 is the high half of 1920
// t.
struct Bilinear {
    TRV_INLINE static field::Row of(const field::Rows& rows, field::Neighbour n) {
        return rows.bilinear[n];
    }

    template <int D>
    TRV_INLINE static U8 at(const Lines& l, size_t k) {
        const uint8_t *upper = l.upper + k, *lower = l.lower + k;
        const WordHalves sum = weighted<7>(load<U8>(upper), load<U8>(lower)) +
                               weighted<5>(load<U8>(upper - D), load<U8>(lower - D)) +
                               weighted<5>(load<U8>(upper + D), load<U8>(lower + D));
        const U16 factor = splat<U16>(1920);
        return narrow(WordHalves{mul_high(sum.low, factor), mul_high(sum.high, factor)});
    }
};

struct VectorOrder {
    TRV_INLINE static U8 min(U8 a, U8 b) { return TRV_LEVEL::min(a, b); }
    TRV_INLINE static U8 max(U8 a, U8 b) { return TRV_LEVEL::max(a, b); }
};

struct Median {
    TRV_INLINE static field::Row of(const field::Rows& rows, field::Neighbour n) {
        return rows.median[n];
    }

    template <int D>
    TRV_INLINE static U8 at(const Lines& l, size_t k) {
        const auto middle = middle_of_six<VectorOrder>(
            load<U8>(l.upper + k - D), load<U8>(l.upper + k), load<U8>(l.upper + k + D),
            load<U8>(l.lower + k - D), load<U8>(l.lower + k), load<U8>(l.lower + k + D));
        return floor_mean(middle.lower, middle.upper);
    }
};

template <typename Rule, field::Neighbour N>
TRV_INLINE U8 bytes(const Lines& l, size_t k) {
    if constexpr (N == field::one) return Rule::template at<1>(l, k);
    if constexpr (N == field::three) return Rule::template at<3>(l, k);
    if constexpr (N == field::four) return Rule::template at<4>(l, k);
    if constexpr (N == field::yuv) {
        const U8 odd = as<U8>(splat<U16>(k % 2 == 0 ? 0xFF00 : 0x00FF));
        return (Rule::template at<4>(l, k) & odd) | (Rule::template at<2>(l, k) & ~odd);
    }
}

template <typename Rule, field::Neighbour N>
void row(const uint8_t* upper, const uint8_t* lower, uint8_t* out, size_t count) {
    if (count < sizeof(U8)) return Rule::of(narrower::field_rows, N)(upper, lower, out, count);
    const Lines lines{upper, lower};
    const size_t last = count - sizeof(U8);
    for (size_t k = 0;; k = k + sizeof(U8) < last ? k + sizeof(U8) : last) {
        prefetch_ahead<sizeof(U8)>(out + k);
        store(out + k, bytes<Rule, N>(lines, k));
        if (k == last) break;
    }
}

}  // namespace
}  // namespace TRV_LEVEL
}  // namespace trv
