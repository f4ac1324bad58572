// The demosaic kernels as a family: which exist, and how one of them runs on two buffers.
#pragma once

#include <cstdint>

#include "image/bayer/span.h"
#include "image/buffer.h"
#include "image/level/level.h"
#include "image/pixel/format.h"

namespace trv::bayer {

enum class Input : uint8_t { BAY8, BAYn };
enum class Output : uint8_t { RGB16, BGR16, BGR24, BGRX32, RGBX32 };

struct Kernel {
    Input input;
    Output output;
    Method method;
    Phase phase;

    constexpr bool operator==(const Kernel&) const = default;
};

inline constexpr Kernel kernels[] = {
#define TRV_KERNEL(input, output, method, phase) \
    {Input::input, Output::output, Method::method, Phase::phase},
#include "image/bayer/members.inc"
};

constexpr bool exists(const Kernel& wanted) {
    for (const Kernel& kernel : kernels)
        if (kernel == wanted) return true;
    return false;
}

// What an exported kernel does. `bits` counts only for Input::BAYn.
uint32_t run(const Level& level, const Kernel& kernel, Handle source, Handle destination,
             uint32_t bits);

}  // namespace trv::bayer
