// The rows of the vector levels: a vector of bytes at a time, the last one overlapping.
#pragma once

#include "image/field/line.h"
#include "image/field/median6.h"
#include "image/simd/vec.h"

namespace trv::TRV_LEVEL {
namespace {

constexpr ptrdiff_t distance(field::Neighbour n) {
    return n == field::one ? 1 : n == field::three ? 3 : 4;
}

// The samples at byte k of a line and their neighbours. In YUV422 even bytes have theirs two bytes
// away and odd bytes four; `odd` says which lanes are odd.
template <field::Neighbour N>
struct Three {
    TRV_INLINE Three(const uint8_t* at, U8 odd)
        : before(neighbour<-1>(at, odd)),
          own(keep_in_register(load<U8>(at))),
          behind(neighbour<1>(at, odd)) {}

    template <int Side>
    TRV_INLINE static U8 neighbour(const uint8_t* at, U8 odd) {
        const U8 far = keep_in_register(load<U8>(at + Side * distance(N)));
        if constexpr (N != field::yuv) return far;
        return select(odd, far, load<U8>(at + Side * 2));
    }

    U8 before, own, behind;
};

struct Copy {
    TRV_INLINE static field::Row of(const field::Rows& rows, field::Neighbour) { return rows.copy; }
    template <field::Neighbour>
    TRV_INLINE static U8 at(const uint8_t* upper, const uint8_t*, U8) {
        return load<U8>(upper);
    }
};

struct Average {
    TRV_INLINE static field::Row of(const field::Rows& rows, field::Neighbour) {
        return rows.average;
    }
    template <field::Neighbour>
    TRV_INLINE static U8 at(const uint8_t* upper, const uint8_t* lower, U8) {
        return floor_mean(keep_in_register(load<U8>(upper)), keep_in_register(load<U8>(lower)));
    }
};

// 105 a + 75 b is 15 (7 a + 5 b), whose inner part fits 16 bits; 15 t >> 9 is the high half of 1920
// t.
struct Bilinear {
    TRV_INLINE static field::Row of(const field::Rows& rows, field::Neighbour n) {
        return rows.bilinear[n];
    }
    template <field::Neighbour N>
    TRV_INLINE static U8 at(const uint8_t* upper, const uint8_t* lower, U8 odd) {
        const Three<N> u(upper, odd), w(lower, odd);
        const WordHalves sum = weighted<7>(u.own, w.own) + weighted<5>(u.before, w.before) +
                               weighted<5>(u.behind, w.behind);
        const U16 factor = splat<U16>(1920);
        return narrow(WordHalves{mul_high(sum.low, factor), mul_high(sum.high, factor)});
    }
};

struct VectorMinMax {
    TRV_INLINE static U8 min(U8 a, U8 b) { return TRV_LEVEL::min(a, b); }
    TRV_INLINE static U8 max(U8 a, U8 b) { return TRV_LEVEL::max(a, b); }
};

struct Median {
    TRV_INLINE static field::Row of(const field::Rows& rows, field::Neighbour n) {
        return rows.median[n];
    }
    template <field::Neighbour N>
    TRV_INLINE static U8 at(const uint8_t* upper, const uint8_t* lower, U8 odd) {
        const Three<N> u(upper, odd), w(lower, odd);
        const auto middle =
            middle_of_six<VectorMinMax>(u.before, u.own, u.behind, w.before, w.own, w.behind);
        return floor_mean(middle.lower, middle.upper);
    }
};

template <typename Rule, field::Neighbour N>
void row(const uint8_t* upper, const uint8_t* lower, uint8_t* out, size_t count, bool fetch_ahead) {
    if (count < sizeof(U8))
        return Rule::of(fallback::field_rows, N)(upper, lower, out, count, fetch_ahead);
    const size_t last = count - sizeof(U8);
    U8 odd = as<U8>(splat<U16>(0xFF00));
    for (size_t k = 0;; k += sizeof(U8)) {
        if (k >= last) {
            if (last % 2 != k % 2) odd = ~odd;
            k = last;
            // A branch: were k the smaller of two, every load would wait for the one before it.
            __asm__("" : "+r"(k));
        }
        if (fetch_ahead) {
            prefetch_ahead<sizeof(U8)>(out + k);
            prefetch_ahead<sizeof(U8)>(lower + k);
        }
        store(out + k, Rule::template at<N>(upper + k, lower + k, odd));
        if (k == last) break;
    }
}

}  // namespace
}  // namespace trv::TRV_LEVEL
