// The rows of the scalar level: the rules as they stand, byte after byte.
#pragma once

#include "image/field/line.h"
#include "image/field/rule.h"

namespace trv::scalar {
namespace {

constexpr ptrdiff_t distance(field::Neighbour n, size_t k) {
    switch (n) {
        case field::one:
            return 1;
        case field::three:
            return 3;
        case field::yuv:
            return k % 2 == 0 ? 2 : 4;
        default:
            return 4;
    }
}

template <typename Rule>
void row(const uint8_t* upper, const uint8_t* lower, uint8_t* out, size_t count, bool) {
    for (size_t k = 0; k < count; ++k)
        out[k] = static_cast<uint8_t>(Rule::at(upper, lower, static_cast<ptrdiff_t>(k), 0));
}

template <typename Rule, field::Neighbour N>
void pass(const field::Pass& pass) {
    const uint8_t* upper = pass.from;
    uint8_t* out = pass.to;
    for (uint32_t i = 0; i < pass.lines; ++i) {
        const uint8_t* lower = upper + pass.stride;
        for (size_t k = 0; k < pass.count; ++k) {
            out[k] = upper[k];
            out[pass.stride + k] = static_cast<uint8_t>(
                Rule::at(upper, lower, static_cast<ptrdiff_t>(k), distance(N, k)));
        }
        upper = lower;
        out += 2 * pass.stride;
    }
}

}  // namespace
}  // namespace trv::scalar
