// What a level provides for mosaics that become words of colour, and for the method `gradient`.
#pragma once

#include "image/bayer/span.h"

namespace trv {
namespace raw {

// Red and blue exchanged, these serve the other order too.
enum GradientLayout : uint8_t { three_bytes, four_bytes, three_words, gradient_layout_count };

// An even number of pixels of a line, from an even place on, that have two pixels on either side.
struct GradientLines {
    const uint8_t* line[5];  // the first of the pixels and those above and below it, top to bottom
    uint8_t* out;            // of the first of the pixels
    size_t count;
    uint32_t most;   // the largest value of a sample
    unsigned shift;  // bits that a sample has beyond 8 if colours are bytes, else 0
    bayer::Memory memory;
};

using GradientSpan = void (*)(const GradientLines&);

struct DemosaicSpans {
    // Pixels of three words, blue first. Samples stay as deep as they are: Lines::shift is 0.
    bayer::Span words[bayer::depth_count][bayer::rule_count][2][2];
    GradientSpan gradient[bayer::depth_count][gradient_layout_count][2][2];
};

}  // namespace raw

#define TRV_LEVEL_ROW(level)                        \
    namespace level {                               \
    extern const raw::DemosaicSpans demosaic_spans; \
    }
#include "image/simd/levels.inc"

}  // namespace trv
