// The arithmetic of developing: what every level makes of a sample and of a colour.
#pragma once

#include <cstdint>

namespace trv::raw {

// A factor of 0 to 32 in 1/2^27: its upper and its lower 16 bits.
struct Factor {
    uint16_t high, low;
};
inline constexpr double factor_unit = 1.0 / (1u << 27), most_factor = 31.99;

// A row of the matrix in 1/2^26, as `high` in 1/2^12 and what is left of each entry. Absolute
// values of a row add up to less than 8, so that sums of products with words stay within 32 bits.
struct MatrixRow {
    int16_t high[3], low[3];
};
inline constexpr unsigned matrix_bits = 26, matrix_high_bits = 12;
inline constexpr double most_row_sum = 7.99;

struct Matrix {
    MatrixRow row[3];
    bool is_short;  // every `low` is 0
};

// What is left above the offset, brought to 16 bits and multiplied; rounded, and no more than
// white.
constexpr uint16_t corrected(uint32_t sample, uint32_t limit, uint32_t offset, unsigned shift,
                             Factor factor) {
    const uint32_t value = sample < limit ? sample : limit;
    const uint32_t above = (value > offset ? value - offset : 0) << shift;
    const uint32_t product = above * factor.high + (above * factor.low >> 16);
    const uint32_t rounded = (product + (1u << 10)) >> 11;
    return static_cast<uint16_t>(rounded < 0xFFFF ? rounded : 0xFFFF);
}

// A row of the matrix times a colour; rounded, and from black to white.
constexpr uint16_t mixed(const MatrixRow& row, uint16_t r, uint16_t g, uint16_t b) {
    constexpr unsigned low_bits = matrix_bits - matrix_high_bits;
    const auto entry = [&](int i) { return int64_t{row.high[i]} * (1 << low_bits) + row.low[i]; };
    const int64_t sum = entry(0) * r + entry(1) * g + entry(2) * b;
    const int64_t rounded = (sum + (1 << (matrix_bits - 1))) >> matrix_bits;
    return static_cast<uint16_t>(rounded < 0 ? 0 : rounded > 0xFFFF ? 0xFFFF : rounded);
}

// A curve from words to words, and cubic polynomials that give the same: one for each half octave,
// in the order of the five lowest bits of floating-point numbers that are left above bit 22.
struct Curve {
    static constexpr unsigned parts = 32;
    bool has_polynomials;
    float coefficient[4][parts];  // of x^0 to x^3
    uint16_t word[65536];
};

// Every step is rounded by itself: the same on every processor.
constexpr uint16_t bent_by_polynomial(const Curve& curve, uint16_t word) {
    const auto x = static_cast<float>(word);
    const unsigned part = __builtin_bit_cast(uint32_t, x) >> 22 & (Curve::parts - 1);
    float y = curve.coefficient[3][part];
    for (unsigned i = 3; i-- > 0;) {
        y *= x;
        y += curve.coefficient[i][part];
    }
    y += 0.5f;
    return y <= 0 ? 0 : y >= 65535 ? 65535 : static_cast<uint16_t>(y);
}

}  // namespace trv::raw
