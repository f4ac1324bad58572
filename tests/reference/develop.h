// Developing, one sample at a time and in floating point: the formulas of the public header.
#pragma once

#include <cmath>
#include <set>
#include <utility>
#include <vector>

#include "trvil/raw.h"

namespace reference {

struct Words {
    uint32_t width, height;
    std::vector<uint32_t> at;

    uint32_t operator()(uint32_t x, uint32_t y) const { return at[size_t{y} * width + x]; }
};

struct DevelopCase {
    TRW_DevelopSettings settings;
    unsigned bits;
    bool is_mosaic;
    unsigned colour[4];         // of the sites of a mosaic: 0 red, 1 green, 2 blue
    Words samples, dark, flat;  // the last two may be empty
};

class Develop {
  public:
    explicit Develop(const DevelopCase& c) : c_(c) {
        for (size_t i = 0; i < c.settings.defect_count; ++i)
            defects_.insert({c.settings.defects[i].x, c.settings.defects[i].y});
        if (!c.flat.at.empty()) find_means();
    }

    uint32_t word(uint32_t x, uint32_t y) const {
        return defects_.count({x, y}) == 0 ? corrected(x, y) : replaced(x, y);
    }

    // The matrix, for red, green and blue.
    void mix(double (&colour)[3]) const {
        double sum[3] = {};
        for (int i = 0; i < 9; ++i)
            sum[i / 3] += std::round(std::ldexp(c_.settings.matrix[i], 26)) * colour[i % 3];
        for (int i = 0; i < 3; ++i) colour[i] = within(std::floor(std::ldexp(sum[i], -26) + 0.5));
    }

    // A library is right within 1 of what this is, rounded.
    double bent(double word) const {
        const double x = word / 65535;
        if (c_.settings.curve == TRW_CURVE_SRGB)
            return 65535 * (x <= 0.0031308 ? 12.92 * x : 1.055 * std::pow(x, 1 / 2.4) - 0.055);
        return c_.settings.curve == TRW_CURVE_GAMMA ? 65535 * std::pow(x, 1 / c_.settings.gamma)
                                                    : word;
    }

  private:
    static double within(double v) { return v < 0 ? 0 : v > 65535 ? 65535 : v; }
    unsigned site(uint32_t x, uint32_t y) const { return c_.is_mosaic ? y % 2 * 2 + x % 2 : 0; }
    double most() const { return std::ldexp(1, static_cast<int>(c_.bits)) - 1; }

    double offset(uint32_t x, uint32_t y) const {
        return c_.dark.at.empty() ? c_.settings.black[site(x, y)] : c_.dark(x, y);
    }
    double lit(uint32_t x, uint32_t y) const { return std::fmax(c_.flat(x, y) - offset(x, y), 0); }
    void find_means() {
        double count[4] = {};
        for (uint32_t y = 0; y < c_.flat.height; ++y)
            for (uint32_t x = 0; x < c_.flat.width; ++x) {
                mean_[site(x, y)] += lit(x, y);
                ++count[site(x, y)];
            }
        for (int i = 0; i < 4; ++i) mean_[i] /= count[i];
    }

    double factor(uint32_t x, uint32_t y) const {
        const TRW_DevelopSettings& s = c_.settings;
        const double white = s.white != 0 ? s.white : most();
        double f = 65535 / (white - s.black[site(x, y)]);
        if (s.gains[0] != 0) f *= s.gains[c_.is_mosaic ? c_.colour[site(x, y)] : 0];
        if (!c_.flat.at.empty() && lit(x, y) != 0) f *= mean_[site(x, y)] / lit(x, y);
        const int bits = static_cast<int>(c_.bits) + 11;
        return std::ldexp(std::floor(std::fmin(std::ldexp(f, bits), 31.99 * (1 << 27)) + 0.5),
                          -bits);
    }

    uint32_t corrected(uint32_t x, uint32_t y) const {
        const double v = std::fmax(std::fmin(c_.samples(x, y), most()) - offset(x, y), 0);
        return static_cast<uint32_t>(std::fmin(std::floor(v * factor(x, y) + 0.5), 65535));
    }

    uint32_t replaced(int64_t x, int64_t y) const {
        const int64_t step = c_.is_mosaic ? 2 : 1;
        double sum = 0, count = 0;
        for (int64_t far = step; count == 0; far += step)
            for (const auto& [dx, dy] :
                 {std::pair{-far, int64_t{0}}, {far, 0}, {0, -far}, {0, far}}) {
                const int64_t nx = x + dx, ny = y + dy;
                if (nx < 0 || ny < 0 || nx >= c_.samples.width || ny >= c_.samples.height) continue;
                const auto ux = static_cast<uint32_t>(nx), uy = static_cast<uint32_t>(ny);
                if (defects_.count({ux, uy}) != 0) continue;
                sum += corrected(ux, uy);
                ++count;
            }
        return static_cast<uint32_t>(std::floor(sum / count + 0.5));
    }

    const DevelopCase& c_;
    std::set<std::pair<uint32_t, uint32_t>> defects_;
    double mean_[4] = {};
};

}  // namespace reference
