// Unpacking a picture, line by line.
#pragma once

#include "image/format/buffer.h"
#include "raw/level.h"

namespace trv::raw {

// Whether samples of a packing become pixels of a format, whatever the upper bytes of its code say.
bool goes_to(const Packing& packing, uint32_t format);

// TRW_Unpack at a level.
uint32_t unpack(const Level& level, Handle source, uint32_t packing, Handle destination);

}  // namespace trv::raw
