// Gradient-corrected demosaicing once more, as the published masks say it: every colour of a pixel
// is one mask over its 5 x 5 neighbours. Shares no code with the library.
#pragma once

#include "tests/reference/bayer.h"

namespace reference {

using Mask = std::array<std::array<int, 5>, 5>;  // in sixteenths

inline constexpr Mask green_mask{
    {{0, 0, -2, 0, 0}, {0, 0, 4, 0, 0}, {-2, 4, 8, 4, -2}, {0, 0, 4, 0, 0}, {0, 0, -2, 0, 0}}};
inline constexpr Mask beside_mask{
    {{0, 0, 1, 0, 0}, {0, -2, 0, -2, 0}, {-2, 8, 10, 8, -2}, {0, -2, 0, -2, 0}, {0, 0, 1, 0, 0}}};
inline constexpr Mask upright_mask{
    {{0, 0, -2, 0, 0}, {0, -2, 8, -2, 0}, {1, 0, 10, 0, 1}, {0, -2, 8, -2, 0}, {0, 0, -2, 0, 0}}};
inline constexpr Mask diagonal_mask{
    {{0, 0, -3, 0, 0}, {0, 4, 0, 4, 0}, {-3, 0, 12, 0, -3}, {0, 4, 0, 4, 0}, {0, 0, -3, 0, 0}}};

// -2 is 2, -1 is 1, `count` is `count` - 2: the outermost sample is not repeated.
inline uint32_t mirrored(int place, uint32_t count) {
    const int period = 2 * (static_cast<int>(count) - 1);
    const int inside = (place % period + period) % period;
    return static_cast<uint32_t>(std::min(inside, period - inside));
}

inline uint32_t masked(const Mosaic& m, const Mask& mask, uint32_t x, uint32_t y) {
    int64_t sum = 0;
    for (int dy = -2; dy <= 2; ++dy)
        for (int dx = -2; dx <= 2; ++dx) {
            const uint32_t sample = m.sample(mirrored(static_cast<int>(x) + dx, m.width),
                                             mirrored(static_cast<int>(y) + dy, m.height));
            sum += int64_t{mask[static_cast<size_t>(dy + 2)][static_cast<size_t>(dx + 2)]} * sample;
        }
    return static_cast<uint32_t>(std::clamp<int64_t>((sum + 8) >> 4, 0, (1 << m.bits) - 1));
}

inline Pixel gradient_pixel(const Mosaic& m, uint32_t x, uint32_t y) {
    const char own = m.colour(x, y);
    Pixel p{};
    p.of(own) = std::min(m.sample(x, y), (1u << m.bits) - 1);
    if (own == 'G') {
        p.of(m.colour(x + 1, y)) = masked(m, beside_mask, x, y);
        p.of(m.colour(x, y + 1)) = masked(m, upright_mask, x, y);
    } else {
        p.green = masked(m, green_mask, x, y);
        p.of(m.colour(x + 1, y + 1)) = masked(m, diagonal_mask, x, y);
    }
    if (!m.keeps_depth)
        for (uint32_t* colour : {&p.red, &p.green, &p.blue}) *colour >>= m.bits - 8;
    return p;
}

}  // namespace reference
