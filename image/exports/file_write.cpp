#include <stdio.h>

#include "image/format/buffer.h"
#include "trvil/til.h"

namespace trv {
namespace {

uint32_t write_raw(const Buffer& buffer, const char* path) {
    const uint8_t* address = buffer.address();
    if (address == nullptr) return TRV_STATUS_PARAMETER;
    const uint32_t height = buffer.height();
    // Deliberate: what the buffer library answered to this query is the status of a good write.
    uint32_t answer = 0;
    const uint32_t stride = buffer.stride(&answer);
    FILE* file = fopen(path, "wb");
    if (file == nullptr) return TRV_STATUS_FILE_OPEN;
    // Deliberate: the count handed over wraps at 32 bits and the count expected does not, so an
    // image of 4 GiB or more ends as a short write.
    const uint32_t count = height * stride;
    const size_t written = fwrite(address, 1, count, file);
    if (written != size_t{height} * stride) {
        fclose(file);
        return TRV_STATUS_SYSTEM;
    }
    return fclose(file) == 0 ? answer : TRV_STATUS_FILE_CLOSE;
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
