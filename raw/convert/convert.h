// From packed samples to a picture, strip by strip, on several threads.
#pragma once

#include "image/exports/buffer.h"
#include "raw/level.h"
#include "raw/strips/cut.h"
#include "trvil/raw.h"

namespace trv::raw {

// TRW_Convert at a level.
uint32_t convert(const Level& level, Handle source, uint32_t packing, Handle destination,
                 const TRW_Settings& settings, TRW_Pool* pool, const Cut& cut = usual_cut);

}  // namespace trv::raw
