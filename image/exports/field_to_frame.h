// TIL_FieldToFrame and its methods at a level of the caller's choice.
#pragma once

#include <cstdint>

#include "image/dispatch/level.h"
#include "image/exports/buffer.h"
#include "image/field/field.h"

namespace trv {

uint32_t field_to_frame(const Level& level, Handle source, Handle destination, uint32_t method,
                        uint32_t field_flag);

namespace field {

// One method.
uint32_t run(const Level& level, Method method, Handle source, Handle destination, uint32_t flag);

}  // namespace field
}  // namespace trv
