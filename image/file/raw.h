// A picture's memory as a file: lines at their stride, padding included.
#pragma once

#include <cstdint>

namespace trv::raw_file {

// TRV_STATUS_OK, or the status of TIL_FileWrite.
uint32_t write_file(const char* path, const uint8_t* address, uint32_t height, uint32_t stride);

}  // namespace trv::raw_file
