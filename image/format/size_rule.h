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

// Packed sources other than Mono12MP and what comes of them are measured by the packed size,
// deliberately: it is the rule that callers size their buffers by.
constexpr bool is_measured_packed(const Format& source) {
    return is_packed(source) && source.code != Code::Mono12MP;
}

// Bytes of the destination that are asked for: the source's significant bits for each pixel of the
// destination. In two parts, because a product of bits would wrap eight times before one of bytes.
constexpr uint64_t packed_bytes(const Format& source, const Format& destination, uint64_t pixels) {
    const uint64_t stored = destination.stored;
    const uint64_t rest = pixels % stored * source.significant;
    return pixels / stored * source.significant + (rest + stored - 1) / stored;
}

// Deliberate: from colour, the helpers' rules ask for less than is written; callers size their
// buffers by them. From grey words the rule is exact.
constexpr Measure measure_helper(const Format& source, const Format& destination,
                                 const Extent& extent) {
    const uint64_t pixels = extent.source_pixels, bytes = extent.destination_bytes;
    if (source.family == Family::grey) return {4 * pixels, bytes, 1};
    if (destination.code == Code::RGB24) return {pixels, 3 * bytes, 3};
    return {8 * pixels, 4 * bytes, 4};
}

// Products have 64 bits and wrap beyond them.
constexpr Measure measure(Way way, const Format& source, const Format& destination,
                          const Extent& extent) {
    if (way == Way::helper) return measure_helper(source, destination, extent);
    const uint64_t needed = is_measured_packed(source)
                                ? packed_bytes(source, destination, extent.source_pixels)
                                : extent.source_pixels * (destination.stored / 8);
    return {needed, extent.destination_bytes, 1};
}

}  // namespace trv
