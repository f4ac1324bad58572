// DNG files: mosaics as the sensor gave them, with what raw developers need to know of them.
#pragma once

#include <array>
#include <cstdio>

#include "tool/picture/frame.h"
#include "tool/picture/matrix.h"

namespace trv::tool {

// How the samples of a mosaic are to be understood.
struct DngColours {
    Phase phase = Phase::A;
    std::array<uint32_t, 4> black{};       // of the pixels (0, 0), (1, 0), (0, 1), (1, 1)
    uint32_t white = 0;                    // 0: the most that the format's samples can be
    std::array<double, 3> gains{1, 1, 1};  // that make grey of the sensor's red, green and blue
    // Row by row, from balanced colours to those of sRGB, without its curve.
    Matrix matrix = unit_matrix;
};

// ColorMatrix1 of a DNG. Throws Failure where the matrix is singular.
//
// DNG wants the opposite way, from XYZ under the standard illuminant D65 to the sensor's colours:
//
//   ColorMatrix1 = N * matrix^-1 * X    AsShotNeutral = diagonal of N
//
// with X from XYZ to sRGB, and in the diagonal of N what grey is to the sensor, 1 / gains, the
// largest of them 1.
Matrix dng_matrix(const DngColours& colours);

// A mosaic of bytes or words without padding between lines; no sample is changed. What the stream
// does not take, it remembers; the caller closes it. Throws Failure.
void write_dng(const Frame& mosaic, const DngColours& colours, FILE* file);

}  // namespace trv::tool
