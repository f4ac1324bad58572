// The walk over a mosaic: first, middle and last lines; first pixel, pairs, last pixel.
#pragma once

#include <cstddef>
#include <cstdint>

#include "image/bayer/span.h"
#include "image/format/job.h"
#include "image/format/members.h"

namespace trv::bayer {

struct Image {
    const uint8_t* source;  // of line 0, like the destination
    uint8_t* destination;
    uint32_t source_stride;
    uint32_t destination_stride;
    uint32_t width;
    uint32_t height;
    uint32_t bits;  // per sample
    Memory memory;
};

// Converts lines of a picture: every pixel of theirs once. All lines in one call or in several give
// the same bytes. Of the source, the lines themselves are read and the picture's next one on either
// side; so where not all of a picture is there, `source` may be where its line 0 would lie.
//
// Calls for different lines may run at the same time where lines of the destination do not overlap
// by more than the pad byte of their last pixel: none touches a byte that is another's. Pictures of
// less than 2 x 2 pixels, whose pixels have no neighbours to take colours from, are left alone.
//
// The image's strides become those that are stepped by. It is no copy, which would wait for what
// its fields were just stored by.
void convert_lines(const Spans& spans, const Kernel& kernel, Image& image, LineRange lines);

}  // namespace trv::bayer
