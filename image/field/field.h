// The four field methods at a level of the caller's choice.
#pragma once

#include <cstdint>

#include "image/dispatch/level.h"
#include "image/exports/buffer.h"

namespace trv::field {

enum class Method : uint32_t { duplicate, average, bilinear, median, count };

uint32_t run(const Level& level, Method method, Handle source, Handle destination, uint32_t flag);

}  // namespace trv::field
