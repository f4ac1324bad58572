// What TIL_Convert has learnt of its two buffers when a way through the routing table runs.
#pragma once

#include <cstdint>

#include "image/format/buffer.h"
#include "image/format/format.h"

namespace trv {

struct Side {
    Handle handle;
    uint32_t format;
    uint8_t* address;
    uint32_t stride;
    uint32_t width;
    uint32_t height;

    constexpr uint64_t bytes() const { return uint64_t{stride} * height; }
};

struct Job {
    Side source;
    Side destination;
    uint32_t method;
    uint32_t phase;
    uint32_t packing_offset;
};

}  // namespace trv
