// How one of the demosaic kernels runs on two buffers.
#pragma once

#include <cstdint>

#include "image/dispatch/level.h"
#include "image/exports/buffer.h"
#include "image/format/members.h"

namespace trv::bayer {

// What an exported kernel does. `bits` counts only for Input::BAYn.
uint32_t run(const Level& level, const Kernel& kernel, Handle source, Handle destination,
             uint32_t bits);

}  // namespace trv::bayer
