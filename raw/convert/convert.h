// From packed samples to a picture, strip by strip, on several threads.
#pragma once

#include "image/exports/buffer.h"
#include "raw/level.h"
#include "trvil/raw.h"

namespace trv::raw {

// How a picture is cut. Any cut gives the same bytes.
struct Cut {
    uint64_t strip_bytes;       // of unpacked samples
    uint64_t least_band_bytes;  // that are worth another thread
};

// Unpacked samples of a strip, the packed ones and the picture that they become lie in the second
// cache of any processor that has vectors. A thread takes some 10 us to wake.
inline constexpr Cut usual_cut{64 * 1024, 64 * 1024};

// TRW_Convert at a level.
uint32_t convert(const Level& level, Handle source, uint32_t packing, Handle destination,
                 const TRW_Settings& settings, TRW_Pool* pool, const Cut& cut = usual_cut);

}  // namespace trv::raw
