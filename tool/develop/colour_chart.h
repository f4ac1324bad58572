// The colours of the classic chart of 24 patches, and the matrix that brings a sensor's to them.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "tool/picture/balance.h"
#include "tool/picture/frame.h"
#include "tool/picture/matrix.h"

namespace trv::tool {

struct Point {
    double x, y;
};

// Of the field of patches, as one reads the chart: at dark skin, at bluish green, at black, at
// white. "x,y,x,y,x,y,x,y". Throws Failure when they do not lie in the picture or do not go around.
std::array<Point, 4> corners_named(const std::string& words, uint32_t width, uint32_t height);

struct ChartFit {
    Gains gains{};          // that make the neutral patches grey; none below 1
    Matrix matrix{};        // from there to linear sRGB, in multiples of 1 / 4096
    size_t patches = 0;     // that were not overexposed
    double rms = 0;         // of what is left, as a part of white
    double difference = 0;  // the mean colour difference, CIE 1976
    double largest = 0;     // of those differences
    std::string worst;      // patch
};

// Of a linear picture in RGB48 in which the patches lie between the corners, seen from any side.
//
// The neutral patches' means give the gains and, by the least squares of green, the exposure e.
// Then each row m of the matrix makes the least sum over all patches of
//
//   (m_r r + m_g g + m_b b - t)^2,  m_r + m_g + m_b = 1
//
// with r, g, b the patch's mean times gains and e, and t what the patch has of red, green or blue
// in linear sRGB. So white stays white. Throws Failure where there is no such chart.
ChartFit fit_chart(const Frame& linear, const std::array<Point, 4>& corners);

}  // namespace trv::tool
