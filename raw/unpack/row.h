// Unpacking as rows: one line loop per packing and per instruction-set level.
#pragma once

#include "raw/packing.h"

namespace trv {
namespace raw {

// Pixels of a line. The pointers are those of the group that the line begins in, and of pixel 0.
struct Line {
    const uint8_t* source;
    uint8_t* destination;
    uint32_t first;  // place of pixel 0 in its group
    uint32_t width;  // at least 1
};

using Row = void (*)(const Line&);

struct Rows {
    Row row[packing_count];
};

// Bytes of a destination pixel: a word, or Y with U or V.
inline constexpr size_t pixel_bytes = 2;

// Packings whose bits lie alike share a row.
consteval size_t first_alike(size_t packing) {
    const Packing& p = packings[packing];
    for (size_t i = 0; i < packing; ++i) {
        const Packing& q = packings[i];
        bool alike = p.bits == q.bits && p.target == q.target && p.group == q.group &&
                     p.bytes == q.bytes && p.order == q.order;
        for (unsigned k = 0; k < most_samples; ++k)
            alike = alike && p.high[k] == q.high[k] && p.low[k] == q.low[k];
        if (alike) return i;
    }
    return packing;
}

}  // namespace raw

#define TRV_LEVEL_ROW(level)            \
    namespace level {                   \
    extern const raw::Rows unpack_rows; \
    }
#include "image/simd/levels.inc"

}  // namespace trv
