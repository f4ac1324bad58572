// The four field methods by the rows of a level.
#pragma once

#include <cstdint>

#include "image/field/line.h"
#include "image/format/buffer.h"

namespace trv::field {

enum class Method : uint32_t { duplicate, average, bilinear, median, count };

uint32_t run(const Rows& rows, bool fetch_ahead, Method method, Handle source, Handle destination,
             uint32_t flag);

}  // namespace trv::field
