// TIL_FieldToFrame at a level of the caller's choice.
#pragma once

#include <cstdint>

#include "image/dispatch/level.h"
#include "image/format/buffer.h"

namespace trv {

uint32_t field_to_frame(const Level& level, Handle source, Handle destination, uint32_t method,
                        uint32_t field_flag);

}  // namespace trv
