// What a level provides for mosaics: the pixel pairs of one line.
#pragma once

#include <cstddef>
#include <cstdint>

namespace trv {
namespace bayer {

enum Depth : uint8_t { depth8, depth16, depth_count };
// Red and blue exchanged, these serve BGR16 and RGBX32 too.
enum SpanLayout : uint8_t { rgb16, bgr24, bgrx32, layout_count };
// What the pairs of a line are made by. The first and the last line have one neighbouring line and
// rules of their own, the same for means and medians.
enum SpanRule : uint8_t { nearest, means, medians, edge_means, rule_count };

// A line of a mosaic holds green and one of red and blue, its row colour.
struct LineKind {
    bool green_first;  // pixel 0 is green
    bool row_is_red;
};

// How a picture of its size is made out of and into memory.
struct Memory {
    uint32_t fetch_distance;  // bytes ahead of their use that memory is fetched, 0 for not at all
    bool by_fallback;         // 8-bit samples are made sooner by the level below, if masks are here
    bool aligned_stores;      // stores begin with cache lines, loads wherever that puts them
};

// Pixels 1 to 2 * pairs of a line. The pointers are those of pixel 0; on the first and the last
// line of the picture, `above` and `below` are the one neighbouring line there is.
struct Lines {
    const uint8_t* above;
    const uint8_t* line;
    const uint8_t* below;
    uint8_t* out;
    size_t pairs;
    unsigned shift;  // bits per sample - 8
    Memory memory;
};

using Span = void (*)(const Lines&);

struct Spans {
    Span span[depth_count][layout_count][rule_count][2][2];

    // Always inlined: no level may leave a copy behind for others.
    [[gnu::always_inline]] Span get(Depth depth, SpanLayout layout, SpanRule rule,
                                    LineKind kind) const {
        return span[depth][layout][rule][kind.green_first][kind.row_is_red];
    }
};

}  // namespace bayer

#define TRV_LEVEL_ROW(level)               \
    namespace level {                      \
    extern const bayer::Spans bayer_spans; \
    }
#include "image/simd/levels.inc"

}  // namespace trv
