// From a sensor's samples to a picture by a recipe, strip by strip, on several threads.
#pragma once

#include "image/exports/buffer.h"
#include "raw/develop/recipe.h"
#include "raw/level.h"
#include "raw/strips/cut.h"

namespace trv::raw {

// TRW_Develop at a level.
uint32_t develop(const Level& level, Handle source, Handle destination, const TRW_Recipe& recipe,
                 TRW_Pool* pool, const Cut& cut = usual_cut);

}  // namespace trv::raw
