// The two middle values of six, by minimum and maximum alone, for single values and for vectors.
// O::min and O::max take two values.
#pragma once

namespace trv {

// Three of the six, in order.
template <typename O, typename T>
struct SortedThree {
    T least, middle, most;

    __attribute__((always_inline)) static SortedThree of(T a, T b, T c) {
        const T low = O::min(a, b), high = O::max(a, b);
        return {O::min(low, c), O::max(low, O::min(high, c)), O::max(high, c)};
    }
};

// In no order.
template <typename T>
struct MiddleTwo {
    T one, other;
};

// Without the smallest and the largest of all, x = max of the least and y = min of the most remain,
// and p <= q, the middles in order. No x is larger than q and no y smaller than p, so where x > y
// these two are in the middle of the four, and otherwise the larger of p and x and the smaller of q
// and y are. Both cases are max(p, x) and min(q, y).
template <typename O, typename T>
__attribute__((always_inline)) inline MiddleTwo<T> middle_of_six(const SortedThree<O, T>& u,
                                                                 const SortedThree<O, T>& w) {
    return {O::max(O::min(u.middle, w.middle), O::max(u.least, w.least)),
            O::min(O::max(u.middle, w.middle), O::min(u.most, w.most))};
}

}  // namespace trv
