#include "image/file/raw.h"

#include <stdio.h>

#include "trvil/status.h"

namespace trv::raw_file {

uint32_t write_file(const char* path, const uint8_t* address, uint32_t height, uint32_t stride) {
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
    return fclose(file) == 0 ? TRV_STATUS_OK : TRV_STATUS_FILE_CLOSE;
}

}  // namespace trv::raw_file
