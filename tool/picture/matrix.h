// Three by three numbers, row by row, that make colours of colours.
#pragma once

#include <array>
#include <cstddef>
#include <optional>

namespace trv::tool {

using Matrix = std::array<double, 9>;

inline constexpr Matrix unit_matrix{1, 0, 0, 0, 1, 0, 0, 0, 1};

// IEC 61966-2-1: linear sRGB of XYZ, whose white is D65.
inline constexpr Matrix srgb_from_xyz{3.2404542, -1.5371385, -0.4985314, -0.9692660, 1.8760108,
                                      0.0415560, 0.0556434,  -0.2040259, 1.0572252};

// What `first` makes of what `second` makes.
constexpr Matrix product(const Matrix& first, const Matrix& second) {
    Matrix result{};
    for (size_t row = 0; row < 3; ++row)
        for (size_t column = 0; column < 3; ++column)
            for (size_t i = 0; i < 3; ++i)
                result[3 * row + column] += first[3 * row + i] * second[3 * i + column];
    return result;
}

// Nothing for a matrix that is singular or so close to it that no colours are left to speak of.
constexpr std::optional<Matrix> inverted(const Matrix& m) {
    constexpr double least = 1e-6;
    const Matrix cofactors{
        m[4] * m[8] - m[5] * m[7], m[2] * m[7] - m[1] * m[8], m[1] * m[5] - m[2] * m[4],
        m[5] * m[6] - m[3] * m[8], m[0] * m[8] - m[2] * m[6], m[2] * m[3] - m[0] * m[5],
        m[3] * m[7] - m[4] * m[6], m[1] * m[6] - m[0] * m[7], m[0] * m[4] - m[1] * m[3]};
    const double determinant = m[0] * cofactors[0] + m[1] * cofactors[3] + m[2] * cofactors[6];
    if (!(determinant > least || determinant < -least)) return std::nullopt;
    Matrix result{};
    for (size_t i = 0; i < 9; ++i) result[i] = cofactors[i] / determinant;
    return result;
}

}  // namespace trv::tool
