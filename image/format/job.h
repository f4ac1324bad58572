// What a conversion has to know of its two pictures.
#pragma once

#include <cstdint>

namespace trv {

struct Side {
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

// Lines first to last - 1 of a picture.
struct LineRange {
    uint32_t first;
    uint32_t last;
};

}  // namespace trv
