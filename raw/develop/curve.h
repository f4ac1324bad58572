// Curves from linear words to those of a display.
#pragma once

#include "raw/develop/arithmetic.h"

namespace trv::raw {

enum class CurveKind : uint8_t { srgb, gamma };

// Every word is within 1 of the value of the curve, rounded to the nearest. Curves that polynomials
// do not reach as near are a table alone, rounded to the nearest. `gamma` counts for
// CurveKind::gamma: the exponent is its inverse.
void make_curve(CurveKind kind, double gamma, Curve* curve);

}  // namespace trv::raw
