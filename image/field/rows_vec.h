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
    TRV_INLINE static field::Row of(const field::Rows& rows) { return rows.copy; }
    TRV_INLINE static U8 at(const uint8_t* upper, const uint8_t*) { return load<U8>(upper); }
};

struct Average {
    TRV_INLINE static field::Row of(const field::Rows& rows) { return rows.average; }
    TRV_INLINE static U8 at(const uint8_t* upper, const uint8_t* lower) {
        return floor_mean(keep_in_register(load<U8>(upper)), keep_in_register(load<U8>(lower)));
    }
};

// A branch, which compilers leave alone for what is volatile: were k the smaller of two, every load
// would wait for the one before it.
TRV_INLINE size_t no_more_than(size_t last, size_t k) {
    if (k >= last) {
        k = last;
        __asm__ volatile("" : "+r"(k));
    }
    return k;
}

template <typename Rule>
void row(const uint8_t* upper, const uint8_t* lower, uint8_t* out, size_t count, bool fetch_ahead) {
    if (count < sizeof(U8))
        return Rule::of(fallback::field_rows)(upper, lower, out, count, fetch_ahead);
    const size_t last = count - sizeof(U8);
    for (size_t k = 0;; k = no_more_than(last, k + sizeof(U8))) {
        if (fetch_ahead) {
            prefetch_ahead<sizeof(U8)>(out + k);
            prefetch_ahead<sizeof(U8)>(lower + k);
        }
        store(out + k, Rule::at(upper + k, lower + k));
        if (k == last) break;
    }
}

// 105 a + 75 b is 15 (7 a + 5 b), whose inner part fits 16 bits; 15 t >> 9 is the high half of 1920
// t.
struct Bilinear {
    TRV_INLINE static field::MakePass of(const field::Rows& rows, field::Neighbour n) {
        return rows.bilinear[n];
    }
    // Two of a line's three addends, and the third as it is: those of two lines are added in the
    // step that makes them words.
    struct Share {
        WordHalves sum;
        U8 behind;
    };
    template <field::Neighbour N>
    TRV_INLINE static Share share(const Three<N>& line) {
        return {weighted<7, 5>(line.own, line.before), line.behind};
    }
    TRV_INLINE static U8 between(const Share& upper, const Share& lower) {
        const WordHalves sum = upper.sum + lower.sum + weighted<5, 5>(upper.behind, lower.behind);
        const U16 factor = splat<U16>(1920);
        return narrow(WordHalves{mul_high(sum.low, factor), mul_high(sum.high, factor)});
    }
};

struct VectorMinMax {
    TRV_INLINE static U8 min(U8 a, U8 b) { return TRV_LEVEL::min(a, b); }
    TRV_INLINE static U8 max(U8 a, U8 b) { return TRV_LEVEL::max(a, b); }
};

struct Median {
    TRV_INLINE static field::MakePass of(const field::Rows& rows, field::Neighbour n) {
        return rows.median[n];
    }
    using Share = SortedThree<VectorMinMax, U8>;
    template <field::Neighbour N>
    TRV_INLINE static Share share(const Three<N>& line) {
        return Share::of(line.before, line.own, line.behind);
    }
    TRV_INLINE static U8 between(const Share& upper, const Share& lower) {
        const auto middle = middle_of_six(upper, lower);
        return floor_mean(middle.one, middle.other);
    }
};

// A vector of all lines of a pass.
template <typename Rule, field::Neighbour N>
TRV_INLINE void make_column(const uint8_t* from, uint8_t* to, size_t stride, uint32_t lines,
                            bool fetch_ahead, U8 odd) {
    Three<N> upper(from, odd);
    auto upper_share = Rule::share(upper);
    for (uint32_t left = lines; left != 0; --left) {
        from += stride;
        if (fetch_ahead) {
            prefetch_ahead<sizeof(U8)>(to);
            prefetch_ahead<sizeof(U8)>(to + stride);
            prefetch_ahead<sizeof(U8)>(from);
        }
        const Three<N> lower(from, odd);
        const auto lower_share = Rule::share(lower);
        store(to, upper.own);
        store(to + stride, Rule::between(upper_share, lower_share));
        to += 2 * stride;
        upper = lower;
        upper_share = lower_share;
    }
}

// The second vector begins with a cache line of the copied line, for which it overlaps the first,
// as the last one overlaps the one before it.
template <typename Rule, field::Neighbour N>
void pass(const field::Pass& pass) {
    if (pass.count < sizeof(U8)) return Rule::of(fallback::field_rows, N)(pass);
    const uint8_t* const from = pass.from;
    uint8_t* const to = pass.to;
    const size_t stride = pass.stride, last = pass.count - sizeof(U8);
    const uint32_t lines = pass.lines;
    const bool fetch_ahead = pass.fetch_ahead;
    const size_t aligned = sizeof(U8) - reinterpret_cast<uintptr_t>(to) % sizeof(U8);
    U8 odd = as<U8>(splat<U16>(0xFF00));
    for (size_t k = 0;;) {
        make_column<Rule, N>(from + k, to + k, stride, lines, fetch_ahead, odd);
        if (k == last) break;
        const size_t next = no_more_than(last, k == 0 ? aligned : k + sizeof(U8));
        if (N == field::yuv && next % 2 != k % 2) odd = ~odd;
        k = next;
    }
}

}  // namespace
}  // namespace trv::TRV_LEVEL
