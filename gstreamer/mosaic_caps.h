// Caps of mosaics: video/x-bayer, whose field "format" says depth and phase, and whose field
// "packing", if there is one, how the samples lie in memory. Both are names of the raw library.
#pragma once

#include <gst/gst.h>

#include <cstdint>
#include <string>

namespace trv::gstreamer {

struct Mosaic {
    uint32_t width = 0, height = 0;
    uint32_t format = 0;   // TBL_FORMAT of the samples, with the letter of the phase
    uint32_t packing = 0;  // TRW_PACKING_..., 0: bytes or words in the order of the machine
    uint32_t phase = 0;    // TBL_BAYER_PHASE_...

    bool operator==(const Mosaic&) const = default;
};

// All mosaics that are read.
GstCaps* mosaic_caps();

// Reads fixed caps. False: `why` says what they ask for that is not there.
bool read_mosaic(const GstCaps* caps, Mosaic& mosaic, std::string& why);

// Bytes of a line without padding.
uint64_t line_bytes(const Mosaic& mosaic);

}  // namespace trv::gstreamer
