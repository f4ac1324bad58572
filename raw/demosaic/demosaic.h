// Mosaics that keep their depth, and the method `gradient`: what the kernels of the image library
// do not make.
#pragma once

#include "image/bayer/frame.h"
#include "raw/level.h"

namespace trv::raw {

enum class DemosaicMethod : uint8_t { dup, ave, med, gradient };

struct Demosaic {
    DemosaicMethod method;
    Phase phase;
    const Format* destination;  // of 48 bits, with `gradient` also of 24 or 32
};

// Lines above and below its own that a line is made of, where the picture has them.
constexpr uint32_t neighbour_lines(DemosaicMethod method) {
    return method == DemosaicMethod::gradient ? 2 : 1;
}

// Whether a pixel may be made of the sample after its line: the last one of an odd width.
constexpr bool looks_behind_odd_lines(DemosaicMethod method) {
    return method == DemosaicMethod::ave || method == DemosaicMethod::med;
}

// Makes lines of a picture as bayer::convert_lines does, under its terms: `image.source` may be
// where line 0 would lie, as long as the lines and their neighbours are there, and different lines
// may be made at the same time. `image.bits` are those of the samples, 8 in bytes or 9 to 16 in
// words; `image.memory` need not be filled. Words of colour have as many bits as the samples, bytes
// the upper eight of them.
void demosaic_lines(const Level& level, const Demosaic& demosaic, const bayer::Image& image,
                    LineRange lines);

}  // namespace trv::raw
