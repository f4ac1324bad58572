// The direct conversions as rows: a reader for every way a source lies in memory, a writer for
// every way a destination does, and one line loop per pair of them and per instruction-set level.
#pragma once

#include <cstddef>
#include <cstdint>

#include "image/format/format.h"

namespace trv {
namespace direct {

// Depths share a reader: a word's significant bits reach a row as a shift.
enum class Reader : uint8_t {
    mono8,
    mono16,
    bgr24,
    rgb24,
    bgrx32,
    rgba32,
    bgr48,
    rgb48,
    rgba64,
    rgb30,
    yuv422,
    mono12mp,
    mono10p,
    mono12p,
    mono14p,
    count
};

enum class Writer : uint8_t {
    mono8,
    word,
    mono32,
    rgb15,
    rgb16,
    bgr15,
    bgr16,
    xbgr32,
    bgrx32,
    xrgb32,
    rgbx32,
    bgr24,
    rgb24,
    rgba32,
    bgr48,
    rgb48,
    rgb30,
    bgr30,
    count
};

// How a picture of its size is made out of and into memory.
struct Memory {
    bool fetch_streams;  // source and destination are fetched ahead of their use
    bool past_caches;    // nothing of the destination would stay in the caches anyway
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

// Always inlined, like all that levels share: no level may leave a copy behind for others.
[[gnu::always_inline]] constexpr size_t writer_bytes(Writer writer) {
    switch (writer) {
        case Writer::mono8:
            return 1;
        case Writer::word:
        case Writer::rgb15:
        case Writer::rgb16:
        case Writer::bgr15:
        case Writer::bgr16:
            return 2;
        case Writer::bgr24:
        case Writer::rgb24:
            return 3;
        case Writer::bgr48:
        case Writer::rgb48:
            return 6;
        default:
            return 4;
    }
}

using Row = void (*)(const Line&);

struct Rows {
    Row row[static_cast<size_t>(Reader::count)][static_cast<size_t>(Writer::count)];

    [[gnu::always_inline]] Row get(Reader reader, Writer writer) const {
        return row[static_cast<size_t>(reader)][static_cast<size_t>(writer)];
    }
};

}  // namespace direct

#define TRV_LEVEL_ROW(level)               \
    namespace level {                      \
    extern const direct::Rows direct_rows; \
    }
#include "image/simd/levels.inc"

}  // namespace trv
