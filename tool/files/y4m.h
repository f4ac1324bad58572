// YUV4MPEG2 streams of 8-bit grey or 4:4:4 colour, as video tools exchange them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tool/picture/frame.h"

namespace trv::tool {

struct FrameRate {
    uint32_t frames = 25, seconds = 1;  // so many frames in so many seconds
};

// "25" or "30000/1001". Throws Failure.
FrameRate frame_rate_named(const std::string& name);

// The head of a stream of such pictures, Mono8 or BGRX32.
std::string y4m_head(const Geometry& picture, const FrameRate& rate);

// A frame of it: its own head and the planes. Grey has the range 0 to 255. Colour becomes Y, U and
// V by BT.601 in the range of video, Y 16 to 235 and U and V 16 to 240, each rounded to the
// nearest.
void y4m_frame(const Frame& picture, std::vector<uint8_t>* bytes);

}  // namespace trv::tool
