// TIFF files: of 16-bit colour, which the library does not write, and reading them.
#pragma once

#include <cstdio>
#include <functional>
#include <vector>

#include "tool/picture/frame.h"

namespace trv::tool {

// Whether a TIFF of this format is written here.
bool is_deep_colour(const Format& format);

// Red, green and blue in words with the high byte first, as the library writes grey. What the
// stream does not take, it remembers; the caller closes it. Throws Failure with Exit::output.
void write_tiff(const Frame& frame, FILE* file);

// Grey, or red, green and blue, in samples of 8 or 16 bits. `check` throws for what is too large
// before memory is asked for, and `refuse` for what is not understood.
Frame read_tiff(const std::vector<uint8_t>& bytes,
                const std::function<void(const Geometry&)>& check,
                const std::function<void(const std::string&)>& refuse);

}  // namespace trv::tool
