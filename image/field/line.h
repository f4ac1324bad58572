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

// `count` bytes from the lines above and below. The pointers are those of the first byte made; the
// neighbours in front of it and after the last are read too. For yuv the first byte is an even
// one. `fetch_ahead`: the lower line, which was not read before, and the one made.
using Row = void (*)(const uint8_t* upper, const uint8_t* lower, uint8_t* out, size_t count,
                     bool fetch_ahead);

struct Rows {
    Row copy;  // of `upper`; `lower` is only fetched ahead
    Row average;
    Row bilinear[neighbour_count];
    Row median[neighbour_count];
};

}  // namespace field

#define TRV_LEVEL_ROW(level)             \
    namespace level {                    \
    extern const field::Rows field_rows; \
    }
#include "image/simd/levels.inc"

}  // namespace trv
