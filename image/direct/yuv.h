// YUV 4:2:2: Y0 U Y1 V for two pixels, U and V centred on 128.
#pragma once

#include "image/direct/rule.h"

namespace trv::TRV_LEVEL {
namespace {

inline uint8_t clamp(int value) {
    return static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}

// V of a pixel. The last pixel of an odd width has half a group: its own V lies after the line, so
// it takes the V of the group before, or none (128).
inline int v_of(const uint8_t* line, size_t x, const Line& job) {
    const size_t group = x / 2 * 4;
    if (x % 2 == 1 || x + 1 < job.end) return line[group + 3];
    return group == 0 ? 128 : line[group - 1];
}

// The coefficients are those of full-range BT.601 times 1024; products are shifted, not rounded.
// The map stores blue, green and red (bytes 0, 1, 2).
template <typename M>
struct Yuv {
    static void pixel(const uint8_t* line, size_t x, uint8_t* out, const Line& job) {
        const int y = line[2 * x];
        const int u = line[x / 2 * 4 + 1] - 128;
        const int v = v_of(line, x, job) - 128;
        const uint8_t bgr[] = {clamp(y + (1815 * u >> 10)), clamp(y - ((352 * u + 731 * v) >> 10)),
                               clamp(y + (1436 * v >> 10))};
        put_mapped<M>(out, bgr);
    }
};

}  // namespace
}  // namespace trv::TRV_LEVEL
