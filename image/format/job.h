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

// Whether two parts of memory have no byte in common.
inline bool lie_apart(const uint8_t* a, uint64_t a_bytes, const uint8_t* b, uint64_t b_bytes) {
    return a + a_bytes <= b || b + b_bytes <= a;
}

}  // namespace trv
