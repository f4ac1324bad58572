// TIL_Convert at a level of the caller's choice.
#pragma once

#include <cstdint>

#include "image/dispatch/level.h"
#include "image/exports/buffer.h"

namespace trv {

uint32_t convert(const Level& level, Handle source, Handle destination);

}  // namespace trv
