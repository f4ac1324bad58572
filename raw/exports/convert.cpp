#include "raw/convert/convert.h"

#include <string.h>

#include "raw/exports/record.h"
#include "trvil/raw.h"

namespace trv::raw {
namespace {

// What a caller's newer record says beyond this one.
bool says_more(const TRW_Settings& settings) {
    const auto* byte = reinterpret_cast<const uint8_t*>(&settings);
    for (uint64_t i = sizeof settings; i < settings.size; ++i)
        if (byte[i] != 0) return true;
    return false;
}

TRW_Settings read(const TRW_Settings& given) {
    TRW_Settings settings{};
    memcpy(&settings, &given, given.size < sizeof settings ? given.size : sizeof settings);
    return settings;
}

}  // namespace
}  // namespace trv::raw

uint32_t TRW_Convert(uint64_t source, uint32_t packing, uint64_t destination,
                     const TRW_Settings* settings, TRW_Pool* pool) {
    using namespace trv::raw;
    TRW_Settings read_settings{};
    if (settings != nullptr) {
        if (!is_record(settings)) return TRV_STATUS_PARAMETER;
        if (says_more(*settings)) return TRV_STATUS_UNSUPPORTED;
        read_settings = read(*settings);
    }
    return convert(current_level(), source, packing, destination, read_settings, pool);
}
