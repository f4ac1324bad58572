#include "tool/picture/chart.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace trv::tool {
namespace {

using std::numbers::pi;

Colour grey(double level) {
    return {level, level, level};
}

Colour bar(double u) {
    const auto index = static_cast<unsigned>(u * 8);
    const auto on = [index](unsigned bit) { return (index & bit) == 0 ? 1.0 : 0.0; };
    return {on(2), on(4), on(1)};
}

// Spokes: where they run into grey is where the picture stops resolving.
Colour star(double x, double y) {
    const double wave = std::cos(36 * std::atan2(y, x));
    return grey(wave > 0 ? 0.9 : 0.1);
}

// Rings that become finer outwards, up to a period of so many pixels at distance `reach`.
Colour rings(double x, double y, double reach, double period) {
    return grey(0.5 + 0.45 * std::cos(pi * (x * x + y * y) / (period * reach)));
}

Colour patch(double u, double v) {
    constexpr Colour patches[2][3] = {{{0.78, 0.57, 0.47}, {0.35, 0.45, 0.22}, {0.30, 0.40, 0.70}},
                                      {{0.85, 0.45, 0.10}, {0.55, 0.20, 0.45}, {0.20, 0.60, 0.55}}};
    const auto row = static_cast<unsigned>(v * 4), column = static_cast<unsigned>(u * 3);
    Colour colour = patches[row / 2][column];
    if (row % 2 != 0)
        for (double& level : colour) level = 1 - level;
    return colour;
}

Colour ramp(double u, double v) {
    return grey(v < 0.5 ? u : std::floor(u * 11) / 10);
}

Colour middle(double x, double y, double third, double height) {
    const double dy = y - height / 2;
    if (x < third) return star(x - third / 2, dy);
    if (x < 2 * third) return patch((x - third) / third, y / height);
    return rings(x - 2.5 * third, dy, std::hypot(third, height) / 2, 4);
}

uint32_t quantize(double level, uint32_t full) {
    return static_cast<uint32_t>(std::lround(level * full));
}

template <typename Word>
void fill(Scene scene, const Frame& frame, const SampleLayout& layout, const Gains& sensitivities) {
    const Geometry& g = frame.geometry();
    for (uint32_t y = 0; y < g.height; ++y)
        for (uint32_t x = 0; x < g.width; ++x) {
            const Colour colour = scene(x, y, g.width, g.height);
            for (uint32_t i = 0; i < layout.per_pixel; ++i) {
                const uint32_t place = x * layout.per_pixel + i;
                const auto channel =
                    static_cast<size_t>(layout.channel[y % 2][place % layout.period]);
                const auto word = static_cast<Word>(
                    quantize(colour[channel] * sensitivities[channel], layout.full()));
                std::memcpy(frame.line(y) + size_t{place} * sizeof word, &word, sizeof word);
            }
        }
}

}  // namespace

Colour chart_colour(uint32_t x, uint32_t y, uint32_t width, uint32_t height) {
    const double u = (x + 0.5) / width, v = (y + 0.5) / height;
    constexpr double top = 0.25, bottom = 0.85;
    if (v < top) return bar(u);
    if (v >= bottom) return ramp(u, (v - bottom) / (1 - bottom));
    return middle(x + 0.5, y + 0.5 - top * height, width / 3.0, (bottom - top) * height);
}

Colour zone_plate_colour(uint32_t x, uint32_t y, uint32_t width, uint32_t height) {
    const double reach = std::min(width, height) / 2.0;
    return rings(x + 0.5 - width / 2.0, y + 0.5 - height / 2.0, reach, 2);
}

Frame scene_picture(Scene scene, uint32_t width, uint32_t height) {
    Frame frame(tight(format_of(Code::BGR24), width, height));
    fill<uint8_t>(scene, frame, *sample_layout(*frame.geometry().format, Phase::A), {1, 1, 1});
    return frame;
}

Frame scene_mosaic(Scene scene, const Geometry& geometry, Phase phase, const Gains& sensitivities) {
    Frame frame(geometry);
    const SampleLayout layout = *sample_layout(*geometry.format, phase);
    if (layout.bytes == 1)
        fill<uint8_t>(scene, frame, layout, sensitivities);
    else
        fill<uint16_t>(scene, frame, layout, sensitivities);
    return frame;
}

}  // namespace trv::tool
