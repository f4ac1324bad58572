// Which phases can be that of a mosaic, judged by its samples.
#pragma once

#include "tool/picture/frame.h"

namespace trv::tool {

// How much the two pixels of each diagonal of the 2x2 blocks differ, on average, in levels. One
// diagonal holds the two green pixels, which see nearly the same; the other holds red and blue.
struct Diagonals {
    double down;  // first pixel of the first line, second of the second: green in GRBG and GBRG
    double up;    // the other two: green in RGGB and BGGR
};

// Of a mosaic with whole bytes or words as samples.
Diagonals compare_diagonals(const Frame& mosaic);

// Whether one diagonal differs enough from the other to tell.
bool tells(const Diagonals& d);

// Whether green lies where this phase has it.
bool fits(const Diagonals& d, Phase phase);

}  // namespace trv::tool
