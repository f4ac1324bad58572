#include "raw/convert/convert.h"

#include "raw/exports/settings.h"

uint32_t TRW_Convert(uint64_t source, uint32_t packing, uint64_t destination,
                     const TRW_Settings* settings, TRW_Pool* pool) {
    using namespace trv::raw;
    TRW_Settings read;
    const uint32_t status = read_settings(settings, &read);
    if (status != TRV_STATUS_OK) return status;
    return convert(current_level(), source, packing, destination, read, pool);
}
