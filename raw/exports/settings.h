// The settings of a caller, which may know more or less of the record than the library.
#pragma once

#include "raw/exports/record.h"
#include "trvil/status.h"

namespace trv::raw {

// Where a caller's newer record says something beyond this one; 0: nowhere.
template <typename Settings>
uint32_t unknown_setting(const Settings& given) {
    const auto* byte = reinterpret_cast<const uint8_t*>(&given);
    for (uint32_t i = sizeof given; i < given.size; ++i)
        if (byte[i] != 0) return i;
    return 0;
}

// TRV_STATUS_OK, or why the settings are refused; null is for none.
template <typename Settings>
uint32_t read_settings(const Settings* given, Settings* settings) {
    *settings = {};
    if (given == nullptr) return TRV_STATUS_OK;
    if (!is_record(given)) return TRV_STATUS_PARAMETER;
    if (unknown_setting(*given) != 0) return TRV_STATUS_UNSUPPORTED;
    std::memcpy(settings, given, given->size < sizeof *settings ? given->size : sizeof *settings);
    return TRV_STATUS_OK;
}

}  // namespace trv::raw
