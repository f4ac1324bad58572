// What a level provides for interlaced fields: the bytes of a line synthesised between two others.
#pragma once

#include <cstddef>
#include <cstdint>

namespace trv {
namespace field {

// Distance in bytes from a sample to its neighbour of the same kind.
enum Neighbour : uint8_t {
    one,    // Mono8
    three,  // 3-byte pixels
    four,   // 4-byte pixels
    yuv,    // YUV422: 2 for even bytes, 4 for odd ones
    neighbour_count
};

// `count` bytes from the lines above and below. The pointers are those of the first byte made.
// `fetch_ahead`: the lower line, which was not read before, and the one made.
using Row = void (*)(const uint8_t* upper, const uint8_t* lower, uint8_t* out, size_t count,
                     bool fetch_ahead);

// Some lines of a field that follow each other, from a first byte on: each is copied, and what lies
// between it and the one below is made after it. The lines of both pictures are `stride` apart.
// What one line comes to serves the lines above and below it.
struct Pass {
    const uint8_t* from;
    uint8_t* to;
    size_t stride;
    size_t count;    // of bytes; the neighbours of the first and the last are read too
    uint32_t lines;  // at least one, and one more is read
    bool fetch_ahead;
};

// For yuv the first byte is an even one.
using MakePass = void (*)(const Pass&);

struct Rows {
    Row copy;  // of `upper`; `lower` is only fetched ahead
    Row average;
    MakePass bilinear[neighbour_count];
    MakePass median[neighbour_count];
};

}  // namespace field

#define TRV_LEVEL_ROW(level)             \
    namespace level {                    \
    extern const field::Rows field_rows; \
    }
#include "image/simd/levels.inc"

}  // namespace trv
