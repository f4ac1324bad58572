// When a destination is too small.
#pragma once

#include <cstdint>

#include "image/format/routes.h"

namespace trv {

// The destination is refused when `needed` exceeds `held`. Both count in such units that a byte of
// the destination is `per_byte` of them.
struct Measure {
    uint64_t needed;
    uint64_t held;
    uint32_t per_byte;

    constexpr bool fits() const { return needed <= held; }
};

struct Extent {
    uint64_t source_pixels;      // width times height of the source
    uint64_t destination_bytes;  // stride times height of the destination
};

// Bytes of the destination that are asked for: the source's significant bits for each pixel of the
// destination. In two parts, because a product of bits would wrap eight times before one of bytes.
constexpr uint64_t packed_bytes(const Format& source, const Format& destination, uint64_t pixels) {
    const uint64_t stored = destination.stored;
    const uint64_t rest = pixels % stored * source.significant;
    return pixels / stored * source.significant + (rest + stored - 1) / stored;
}

// Deliberate: `packed`, `third` and `half` ask for less than is written; callers have sized their
// buffers by them. Products have 64 bits and wrap beyond them.
constexpr Measure measure(Size size, const Format& source, const Format& destination,
                          const Extent& extent) {
    const uint64_t pixels = extent.source_pixels, bytes = extent.destination_bytes;
    switch (size) {
        case Size::whole:
            return {pixels * (destination.stored / 8), bytes, 1};
        case Size::packed:  // the packed size of the source
            return {packed_bytes(source, destination, pixels), bytes, 1};
        case Size::unsaid:  // four bytes per pixel; a refusal is not passed on
            return {4 * pixels, bytes, 1};
        case Size::third:  // a third of a byte per pixel
            return {pixels, 3 * bytes, 3};
        case Size::half:  // two bytes per pixel
            return {8 * pixels, 4 * bytes, 4};
    }
    return {};
}

}  // namespace trv
