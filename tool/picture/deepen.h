// Colour of 16 bits.
#pragma once

#include "tool/picture/frame.h"

namespace trv::tool {

// Whether pixels are red, green and blue in bytes or words of their own.
bool can_be_deepened(const Format& format);

// The same colours in RGB48, white at 65535: v becomes 65535 v / (2^n - 1), rounded.
Frame deepened(const Frame& frame);

}  // namespace trv::tool
