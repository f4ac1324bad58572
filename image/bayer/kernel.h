// How one of the demosaic kernels runs on two buffers.
#pragma once

#include <cstdint>

#include "image/bayer/members.h"
#include "image/buffer.h"
#include "image/level/level.h"

namespace trv::bayer {

// What an exported kernel does. `bits` counts only for Input::BAYn.
uint32_t run(const Level& level, const Kernel& kernel, Handle source, Handle destination,
             uint32_t bits);

}  // namespace trv::bayer
