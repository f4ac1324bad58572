// Unpacking a picture, line by line.
#pragma once

#include "image/exports/buffer.h"
#include "raw/level.h"

namespace trv::raw {

// TRW_Unpack at a level.
uint32_t unpack(const Level& level, Handle source, uint32_t packing, Handle destination);

}  // namespace trv::raw
