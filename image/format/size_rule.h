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
// deliberately: it is the rule that callers have sized their buffers by.
constexpr bool is_measured_packed(const Format& source) {
    return is_packed(source) && source.code != Code::Mono12MP;
}

// Units of the source's pixels and of the destination's bytes.
struct Units {
    uint32_t per_pixel;
    uint32_t per_byte;
};

// Deliberate: all three rules of the helpers ask for less than is written (but for the grey one).
// Callers have sized their buffers by them.
constexpr Units helper_units(const Format& source, const Format& destination) {
    if (source.family == Family::grey) return {4, 1};
    return destination.code == Code::RGB24 ? Units{1, 3} : Units{8, 4};
}

constexpr Units units(Way way, const Format& source, const Format& destination) {
    if (way == Way::helper) return helper_units(source, destination);
    if (is_measured_packed(source)) return {source.significant, destination.stored};
    return {destination.stored, 8};
}

constexpr Measure measure(Way way, const Format& source, const Format& destination,
                          const Extent& extent) {
    const auto [per_pixel, per_byte] = units(way, source, destination);
    return {extent.source_pixels * per_pixel, extent.destination_bytes * per_byte, per_byte};
}

}  // namespace trv
