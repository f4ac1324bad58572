// The direct conversions as rows: one line loop per conversion and per instruction-set level.
#pragma once

#include <cstddef>
#include <cstdint>

#include "image/format/routes.h"

namespace trv {
namespace direct {

// How a picture of its size is made out of and into memory.
struct Memory {
    bool fetch_streams = false;  // source and destination are fetched ahead of their use
    bool by_fallback = false;    // moved bytes are by the level below, whose loads are shorter
    bool past_caches = false;    // nothing of the destination would stay in the caches anyway
    uint64_t copied_at_once = UINT64_MAX;  // by one call of the C library
};

// Pixels begin to end - 1 of a line. The pointers are those of pixel 0.
struct Line {
    const uint8_t* source;
    uint8_t* destination;
    uint32_t begin;  // 0 but for the scalar rows, which also finish what others began
    uint32_t end;
    unsigned shift;           // significant bits - 8, for sources of words
    unsigned flag;            // what tells of the other channel, for the 48-bit to word routes
    unsigned packing_offset;  // place of pixel 0 in its group, for packed sources to 4-byte pixels
    Memory memory;
};

using Row = void (*)(const Line&);

// By the number of the conversion, which Route::row says.
struct Rows {
    Row row[routing::row_count];
};

}  // namespace direct

#define TRV_LEVEL_ROW(level)               \
    namespace level {                      \
    extern const direct::Rows direct_rows; \
    }
#include "image/simd/levels.inc"

}  // namespace trv
