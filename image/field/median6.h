// The two middle values of six, by minimum and maximum alone, for single values and for vectors.
#pragma once

namespace trv {

template <typename T>
struct MiddleTwo {
    T lower;
    T upper;
};

// Three pairs are ordered. The smallest of all six is the least of the lower ones, the largest the
// greatest of the upper ones. Without these two, the larger two lower and the smaller two upper
// values remain, and the middle of these four is what the larger lesser and the smaller greater
// are. O::min and O::max take two values.
template <typename O, typename T>
__attribute__((always_inline)) inline MiddleTwo<T> middle_of_six(T a, T b, T c, T d, T e, T f) {
    const T low0 = O::min(a, b), low1 = O::min(c, d), low2 = O::min(e, f);
    const T high0 = O::max(a, b), high1 = O::max(c, d), high2 = O::max(e, f);
    const T low_less = O::min(low0, low1), low_more = O::max(low0, low1);
    const T high_less = O::min(high0, high1), high_more = O::max(high0, high1);
    const T low_middle = O::max(low_less, O::min(low_more, low2));
    const T low_largest = O::max(low_more, low2);
    const T high_smallest = O::min(high_less, high2);
    const T high_middle = O::min(high_more, O::max(high_less, high2));
    return {O::max(low_middle, high_smallest), O::min(low_largest, high_middle)};
}

}  // namespace trv
