// The walk over a mosaic: first, middle and last lines; first pixel, pairs, last pixel.
#pragma once

#include <cstddef>
#include <cstdint>

#include "image/bayer/span.h"
#include "image/format/members.h"

namespace trv::bayer {

struct Image {
    const uint8_t* source;
    uint8_t* destination;
    uint32_t source_step;  // bytes from line to line
    uint32_t destination_step;
    uint32_t width;   // at least 2
    uint32_t height;  // at least 2
    unsigned shift;   // bits per sample - 8
    Memory memory;
};

struct Mosaic {
    LineKind first_line;
    // Deliberate: in phase B the blue sites that start lines 1, 3, 5, ... copy green from their
    // right neighbour, where every other phase takes it from above.
    bool is_phase_b;
};

// Converts every pixel once. The pairs of a line go to `spans`; the ends of lines are done here.
void convert_frame(const Image& image, const Mosaic& mosaic, const Spans& spans, Depth depth,
                   SpanLayout layout, Method method);

}  // namespace trv::bayer
