// Mosaics that keep their depth, and the method `gradient`: what the kernels of the image library
// do not make.
#pragma once

#include "image/bayer/frame.h"
#include "raw/level.h"

namespace trv::raw {

// The method that the kernels do not have.
inline constexpr auto method_gradient = static_cast<bayer::Method>(bayer::med + 1);

struct Demosaic {
    bayer::Method method;
    Phase phase;
    const Format* destination;  // of 48 bits, with `gradient` also of 24 or 32
};

// Makes lines of a picture as bayer::convert_lines does, under its terms: `image.source` may be
// where line 0 would lie, as long as the lines and their neighbours are there, one on either side
// or for `gradient` two; different lines may be made at the same time. `image.bits` are those of
// the samples, 8 in bytes or 9 to 16 in words; `image.memory` need not be filled. Words of colour
// have as many bits as the samples, bytes the upper eight of them.
void demosaic_lines(const Level& level, const Demosaic& demosaic, const bayer::Image& image,
                    LineRange lines);

}  // namespace trv::raw
