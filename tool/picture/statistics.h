// What the samples of a picture hold, in any format.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tool/picture/frame.h"

namespace trv::tool {

// The samples of one colour, of one site of a mosaic, or of luminance or chrominance.
struct Plane {
    std::string name;
    uint32_t depth = 0;  // bits that carry the value, by the format
    uint64_t count = 0, zero = 0, saturated = 0, above = 0;  // above: beyond the depth
    uint32_t least = UINT32_MAX, most = 0;
    uint32_t ever = 0;  // all bits that are set in some sample
    double mean = 0, deviation = 0;
    std::vector<uint64_t> histogram;  // of equal parts of the range that the depth has

    uint64_t full() const { return (uint64_t{1} << depth) - 1; }
};

inline constexpr size_t histogram_parts = 512;

// A mosaic whose phase is given has its sites R, Gr, Gb and B apart.
std::vector<Plane> measure(const Frame& frame, std::optional<Phase> phase);

// "2-9" where bits 2 to 9 are in use, "-" where none is.
std::string bits_in_use(const Plane& plane);

// The histograms as BGR24, side by side; heights are logarithmic.
Frame histogram_picture(const std::vector<Plane>& planes);

}  // namespace trv::tool
