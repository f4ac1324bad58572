// A colour test chart, made from arithmetic, and the mosaic that a sensor would see of it.
#pragma once

#include <array>

#include "tool/balance.h"
#include "tool/frame.h"

namespace trv::tool {

using Colour = std::array<double, channel_count>;  // red, green, blue from 0 to 1

// Bars, a star, patches with their complements, rings, and a ramp. Its colours average to grey.
Colour chart_colour(uint32_t x, uint32_t y, uint32_t width, uint32_t height);

// The chart as it is, in BGR24.
Frame chart_picture(uint32_t width, uint32_t height);

// What a sensor of these sensitivities makes of it.
Frame chart_mosaic(const Geometry& geometry, Phase phase, const Gains& sensitivities);

}  // namespace trv::tool
