// How a byte between two field lines is made, one byte at a time.
#pragma once

#include <cstddef>
#include <cstdint>

#include "image/field/median6.h"

namespace trv::field {

struct ScalarMinMax {
    static uint32_t min(uint32_t a, uint32_t b) { return a < b ? a : b; }
    static uint32_t max(uint32_t a, uint32_t b) { return a < b ? b : a; }
};

inline uint32_t median6(uint32_t a, uint32_t b, uint32_t c, uint32_t d, uint32_t e, uint32_t f) {
    using Three = SortedThree<ScalarMinMax, uint32_t>;
    const auto middle = middle_of_six(Three::of(a, b, c), Three::of(d, e, f));
    return (middle.one + middle.other) >> 1;
}

// Both lines at byte k, and the neighbours d bytes to both sides.
struct Copy {
    static uint32_t at(const uint8_t* upper, const uint8_t*, ptrdiff_t k, ptrdiff_t) {
        return upper[k];
    }
};

struct Average {
    static uint32_t at(const uint8_t* upper, const uint8_t* lower, ptrdiff_t k, ptrdiff_t) {
        return (uint32_t{upper[k]} + lower[k]) >> 1;
    }
};

// Deliberate: the weights are 510 of 512, so synthesised lines are a little darker (255 becomes
// 254).
struct Bilinear {
    static uint32_t at(const uint8_t* upper, const uint8_t* lower, ptrdiff_t k, ptrdiff_t d) {
        const uint32_t centre = uint32_t{upper[k]} + lower[k];
        const uint32_t beside =
            uint32_t{upper[k - d]} + upper[k + d] + uint32_t{lower[k - d]} + lower[k + d];
        return (105 * centre + 75 * beside) >> 9;
    }
};

struct Median {
    static uint32_t at(const uint8_t* upper, const uint8_t* lower, ptrdiff_t k, ptrdiff_t d) {
        return median6(upper[k - d], upper[k], upper[k + d], lower[k - d], lower[k], lower[k + d]);
    }
};

}  // namespace trv::field
