// Test scenes, made from arithmetic, and the mosaics that a sensor would see of them.
#pragma once

#include <array>

#include "tool/picture/balance.h"
#include "tool/picture/frame.h"

namespace trv::tool {

using Colour = std::array<double, channel_count>;  // red, green, blue from 0 to 1

// The colour of a pixel of a picture of some size.
using Scene = Colour (*)(uint32_t x, uint32_t y, uint32_t width, uint32_t height);

// Bars, a star, patches with their complements, rings, and a ramp. Its colours average to grey.
Colour chart_colour(uint32_t x, uint32_t y, uint32_t width, uint32_t height);

// Grey rings that become finer outwards, down to a period of two pixels at the nearest edge.
Colour zone_plate_colour(uint32_t x, uint32_t y, uint32_t width, uint32_t height);

// The scene as it is, in BGR24.
Frame scene_picture(Scene scene, uint32_t width, uint32_t height);

// What a sensor of these sensitivities makes of it.
Frame scene_mosaic(Scene scene, const Geometry& geometry, Phase phase, const Gains& sensitivities);

}  // namespace trv::tool
