#include "tool/guess/texture.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace trv::tool::guess {
namespace {

constexpr size_t most_samples = 1024;
constexpr size_t whole = 12;  // samples: a multiple of every pattern's width

double apart(uint32_t a, uint32_t b) {
    return a > b ? a - b : b - a;
}

// Sums of one colour of a pattern.
struct Sums {
    double across = 0, down = 0, any = 0, level = 0;
    size_t count = 0;

    // Where all samples are equal there is nothing to tell by.
    bool tells() const { return any > 0; }
    double cost() const { return (across + down) / (2 * any); }
    double mean() const { return level / static_cast<double>(count); }
};

Sums sum_colour(const Bands& bands, uint32_t x0, uint32_t y0, uint32_t wide, uint32_t high) {
    Sums sums;
    const size_t n = bands.lines.size(), steps = (bands.width - x0 - 1) / wide;
    for (size_t band = 0; band < n; ++band) {
        const auto& near = bands.lines[band];
        const auto& far = bands.lines[(band + n / 2) % n][y0];
        for (size_t i = 0; i < steps; ++i) {
            const size_t x = x0 + i * wide;
            const uint32_t here = near[y0][x];
            sums.across += apart(here, near[y0][x + wide]);
            sums.down += apart(here, near[y0 + high][x]);
            sums.any += apart(here, far[x0 + (i * 31 + 7) % steps * wide]);
            sums.level += here;
        }
        sums.count += steps;
    }
    return sums;
}

std::vector<Sums> sum_pattern(const Bands& bands, Pattern pattern) {
    std::vector<Sums> all;
    for (uint32_t y = 0; y < down(pattern); ++y)
        for (uint32_t x = 0; x < across(pattern); ++x)
            all.push_back(sum_colour(bands, x, y, across(pattern), down(pattern)));
    return all;
}

double mean_cost(const std::vector<Sums>& all) {
    double cost = 0;
    size_t count = 0;
    for (const Sums& sums : all)
        if (sums.tells()) {
            cost += sums.cost();
            ++count;
        }
    return count == 0 ? 1 : cost / static_cast<double>(count);
}

// How much samples differ from those `lag` further on the line.
double along(const Bands& bands, size_t lag, size_t first = 0, size_t step = 1) {
    double sum = 0;
    size_t count = 0;
    for (const auto& band : bands.lines)
        for (size_t x = first; x + lag < bands.width; x += step, ++count)
            sum += apart(band[0][x], band[0][x + lag]);
    return count == 0 ? 0 : sum / static_cast<double>(count);
}

// A period shows where the sample that far on is more alike than those before and after it, or
// where the steps within a pixel differ from those between pixels.
bool has_period(const Bands& bands, size_t period) {
    const double here = along(bands, period);
    if (here < 0.95 * along(bands, period - 1) && here < 0.95 * along(bands, period + 1))
        return true;
    double least = along(bands, 1, 0, period), most = least;
    for (size_t first = 1; first < period; ++first) {
        const double step = along(bands, 1, first, period);
        least = std::min(least, step);
        most = std::max(most, step);
    }
    return most > 1.3 * least;
}

// The two green samples of a block, which lie on a diagonal, see nearly the same.
double green_cost(const Bands& bands) {
    double fall = 0, rise = 0, any_fall = 0, any_rise = 0;
    const size_t n = bands.lines.size(), blocks = bands.width / 2;
    for (size_t band = 0; band < n; ++band) {
        const auto& near = bands.lines[band];
        const auto& far = bands.lines[(band + n / 2) % n];
        for (size_t i = 0; i < blocks; ++i) {
            const size_t x = 2 * i, other = (i * 31 + 7) % blocks * 2;
            fall += apart(near[0][x], near[1][x + 1]);
            any_fall += apart(near[0][x], far[1][other + 1]);
            rise += apart(near[0][x + 1], near[1][x]);
            any_rise += apart(near[0][x + 1], far[1][other]);
        }
    }
    const auto part = [](double sum, double any) {
        return any == 0 ? 1 : std::min(1.0, sum / any);
    };
    return std::min(part(fall, any_fall), part(rise, any_rise));
}

bool repeats_by_two(const Bands& bands) {
    return along(bands, 2) < along(bands, 1);
}

bool is_chroma(const Sums& sums) {
    return sums.mean() > 80 && sums.mean() < 176;
}

// Chrominance stays near its middle and varies less than luminance.
double yuv_cost(const std::vector<Sums>& all, size_t chroma) {
    const Sums &y = all[1 - chroma], &u = all[chroma], &v = all[chroma + 2];
    if (!is_chroma(u) || !is_chroma(v) || std::max(u.any, v.any) > y.any) return 1;
    return mean_cost(all);
}

double mosaic_cost(const Bands& bands) {
    const double cost =
        (2 * mean_cost(sum_pattern(bands, Pattern::mosaic)) + green_cost(bands)) / 3;
    return repeats_by_two(bands) ? cost : 1.3 * cost + 0.02;
}

std::vector<Fit> fit_bytes(const Bands& bands) {
    std::vector<Fit> fits;
    const std::vector<Sums> four = sum_pattern(bands, Pattern::luma_first);
    if (repeats_by_two(bands)) {
        fits.push_back({Pattern::luma_first, yuv_cost(four, 1)});
        fits.push_back({Pattern::chroma_first, yuv_cost(four, 0)});
    }
    return fits;
}

// Beside red, green and blue there is a byte or word that says nothing, or nearly so.
double quad_cost(const Bands& bands) {
    const std::vector<Sums> all = sum_pattern(bands, Pattern::quad);
    double most = 0;
    for (const Sums& sums : all) most = std::max(most, sums.any);
    const auto silent = std::count_if(all.begin(), all.end(),
                                      [most](const Sums& sums) { return sums.any <= 0.02 * most; });
    // Two are the high bytes of words with few bits.
    return silent == 1 ? mean_cost(all) : 1;
}

// The byte of a word that has fewer bits in use is the high one.
bool swaps_bytes(const Bands& bands) {
    uint32_t all = 0;
    for (const auto& band : bands.lines)
        for (const uint32_t sample : band[0]) all |= sample;
    const uint32_t low = all & 0xFF;
    return low != 0 && std::bit_width(low) <= 6 && all > 0x3FF;
}

bool colours_in_pixels(const Packing& packing) {
    return packing.row.bits % 8 == 0;
}

}  // namespace

uint32_t across(Pattern pattern) {
    switch (pattern) {
        case Pattern::grey:
            return 1;
        case Pattern::mosaic:
            return 2;
        case Pattern::triple:
            return 3;
        default:
            return 4;
    }
}

uint32_t down(Pattern pattern) {
    return pattern == Pattern::mosaic ? 2 : 1;
}

uint32_t per_pixel(Pattern pattern) {
    switch (pattern) {
        case Pattern::triple:
            return 3;
        case Pattern::quad:
            return 4;
        case Pattern::luma_first:
        case Pattern::chroma_first:
            return 2;
        default:
            return 1;
    }
}

Bands take_bands(const Dump& dump, uint64_t start, uint64_t pitch, const Packing& packing,
                 size_t most) {
    Bands bands;
    const uint64_t lines = dump.known > start ? (dump.known - start) / pitch : 0;
    const uint64_t samples = packing.samples_in(pitch);
    bands.width = static_cast<size_t>(std::min<uint64_t>(samples, most_samples) / whole * whole);
    if (lines < 4 || bands.width < whole) return bands;
    const size_t count = std::min<size_t>(most, static_cast<size_t>(lines / 4));
    for (size_t band = 0; band < count; ++band) {
        const uint64_t y = (lines - 4) * band / count / 2 * 2;
        // Different parts of long lines, all beginning with the same colour.
        const uint64_t x = (samples - bands.width) * (band * 5 % count) / count / whole * whole;
        auto& four = bands.lines.emplace_back();
        for (size_t i = 0; i < four.size(); ++i) {
            const uint8_t* line = &dump.bytes[start + (y + i) * pitch];
            four[i].resize(bands.width);
            uint32_t* to = four[i].data();
            for_each_sample(packing, line, x, bands.width,
                            [&to](uint32_t sample) { *to++ = sample; });
        }
    }
    return bands;
}

std::vector<Fit> fit_patterns(const Bands& bands, const Packing& packing) {
    if (bands.lines.empty()) return {};
    std::vector<Fit> fits = {{Pattern::mosaic, mosaic_cost(bands)}};
    if (packing.row.bits == 8)
        for (const Fit& fit : fit_bytes(bands)) fits.push_back(fit);
    const bool three = colours_in_pixels(packing) && has_period(bands, 3);
    const bool four = colours_in_pixels(packing) && !three && has_period(bands, 4);
    if (three) fits.push_back({Pattern::triple, mean_cost(sum_pattern(bands, Pattern::triple))});
    if (four) fits.push_back({Pattern::quad, quad_cost(bands)});
    const double grey = mean_cost(sum_pattern(bands, Pattern::grey));
    fits.push_back({Pattern::grey, three || four ? 1.3 * grey + 0.05 : grey});
    if (packing.is_words() && swaps_bytes(bands))
        for (Fit& fit : fits) fit.cost += 0.15;
    return fits;
}

}  // namespace trv::tool::guess
