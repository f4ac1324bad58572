#include "image/dispatch/level.h"
#include "image/exports/buffer.h"
#include "image/file/raw.h"
#include "image/file/tiff.h"
#include "trvil/status.h"
#include "trvil/til.h"

namespace trv {
namespace {

// The order of the queries is part of the contract with the buffer library.
uint32_t write_raw(const Buffer& buffer, const char* path) {
    const uint8_t* address = buffer.address();
    if (address == nullptr) return TRV_STATUS_PARAMETER;
    const uint32_t height = buffer.height();
    // Deliberate: what the buffer library answered to this query is the status of a good write.
    uint32_t answer = 0;
    const uint32_t stride = buffer.stride(&answer);
    const uint32_t status = raw_file::write_file(path, address, height, stride);
    return status == TRV_STATUS_OK ? answer : status;
}

uint32_t write_tiff(const Buffer& buffer, const char* path) {
    tiff::Picture picture{};
    if ((picture.format = buffer.format()) == 0) return TRV_STATUS_PARAMETER;
    picture.address = buffer.address();
    picture.height = buffer.height();
    picture.width = buffer.width();
    picture.stride = buffer.stride();
    return tiff::write_file(path, *current_level().direct, picture);
}

}  // namespace
}  // namespace trv

uint32_t TIL_FileWrite(uint64_t buffer, const char* path, uint32_t type) {
    const trv::Buffer source(buffer);
    if (!source.present()) return TRV_STATUS_PARAMETER;
    if (type == TIL_FILE_TIFF) return TIL_FileWriteTiff(buffer, path);
    if (type != TIL_FILE_RAW) return TRV_STATUS_UNSUPPORTED;
    return trv::write_raw(source, path);
}

uint32_t TIL_FileWriteTiff(uint64_t buffer, const char* path) {
    const trv::Buffer source(buffer);
    if (!source.present()) return TRV_STATUS_PARAMETER;
    return trv::write_tiff(source, path);
}
