// A picture as a TIFF file.
#pragma once

#include <cstdint>

#include "image/direct/row.h"

namespace trv::tiff {

struct Picture {
    uint32_t format;  // whole code
    const uint8_t* address;
    uint32_t width;
    uint32_t height;
    uint32_t stride;
};

// The status of TIL_FileWriteTiff.
uint32_t write_file(const char* path, const direct::Rows& rows, const Picture& picture);

}  // namespace trv::tiff
