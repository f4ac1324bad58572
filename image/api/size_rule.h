// When a destination is too small.
#pragma once

#include <cstdint>

#include "image/pixel/format.h"

namespace trv {

struct Extent {
    uint64_t source_pixels;      // width times height of the source
    uint64_t destination_bytes;  // stride times height of the destination
};

// Packed sources other than Mono12MP and what comes of them are measured by the packed size,
// deliberately: it is the rule that callers have sized their buffers by.
constexpr bool is_measured_packed(const Format& source) {
    return is_packed(source) && source.code != Code::Mono12MP;
}

constexpr bool fits(const Format& source, const Format& destination, const Extent& extent) {
    const uint64_t needed = extent.source_pixels *
                            (is_measured_packed(source) ? source.significant : destination.stored);
    const uint64_t held =
        extent.destination_bytes * (is_measured_packed(source) ? destination.stored : 8u);
    return needed <= held;
}

}  // namespace trv
