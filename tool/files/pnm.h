// PPM and PGM files.
#pragma once

#include <cstdio>

#include "tool/picture/frame.h"

namespace trv::tool {

// What the stream does not take, it remembers; the caller closes it.
void write_pnm(const Frame& frame, FILE* file);

}  // namespace trv::tool
