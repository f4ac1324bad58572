// Caps of mosaics: video/x-bayer, whose field "format" says depth and phase, and whose field
// "packing", if there is one, how the samples lie in memory. Both are names of the raw library.
#pragma once

#include <gst/gst.h>

#include <cstdint>
#include <string>

#include "trvil/raw.hpp"

namespace trv::gstreamer {

struct Mosaic {
    uint32_t width = 0, height = 0;
    trvil::PixelLayout layout;  // a mosaic's, with the letter of its phase

    bool operator==(const Mosaic& other) const {
        return width == other.width && height == other.height &&
               layout.format == other.layout.format && layout.packing == other.layout.packing;
    }
};

// All mosaics that are read.
GstCaps* mosaic_caps();

// Reads fixed caps. False: `why` says what they ask for that is not there.
bool read_mosaic(const GstCaps* caps, Mosaic& mosaic, std::string& why);

}  // namespace trv::gstreamer
