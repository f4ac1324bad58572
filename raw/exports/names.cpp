#include "raw/names/names.h"

#include <initializer_list>

#include "raw/exports/record.h"
#include "raw/phase.h"
#include "trvil/raw.h"
#include "trvil/tbl.h"

namespace trv::raw {
namespace {

static_assert(static_cast<uint32_t>(System::opencv) == TRW_SYSTEM_OPENCV &&
              static_cast<uint32_t>(System::end) == TRW_SYSTEM_END);

Phase phase_of(uint32_t parameter) {
    for (const Phase phase : {Phase::A, Phase::B, Phase::C, Phase::D})
        if (phase_parameter(phase) == parameter) return phase;
    return Phase::none;
}

TRW_Reading reading_of(const Name& name) {
    TRW_Reading reading{};
    reading.system = static_cast<uint32_t>(name.system);
    reading.code = name.code;
    reading.format = name.format == 0 ? 0 : format_prefix + name.format;
    reading.packing = name.packing;
    reading.phase = phase_parameter(name.phase);
    reading.system_name = systems[reading.system].name;
    reading.name = name.name;
    reading.why = name.unread;
    return reading;
}

uint32_t give(const Name* name, const char* otherwise, TRW_Reading* out) {
    TRW_Reading reading{};
    if (name != nullptr)
        reading = reading_of(*name);
    else
        reading.why = otherwise;
    fill_record(reading, out);
    return reading.why == nullptr ? TRV_STATUS_OK : TRV_STATUS_UNSUPPORTED;
}

uint32_t give(const Finding& found, TRW_Reading* out) {
    if (!found.disagreed)
        return give(found.name, "no system that is known here has such a name", out);
    TRW_Reading reading{};
    reading.name = found.name->name;
    reading.why = "systems mean different pixels by it; put the system and a colon before it";
    fill_record(reading, out);
    return TRV_STATUS_UNSUPPORTED;
}

}  // namespace
}  // namespace trv::raw

uint32_t TRW_FindName(const char* name, TRW_Reading* reading) {
    if (name == nullptr || !trv::raw::is_record(reading)) return TRV_STATUS_PARAMETER;
    return trv::raw::give(trv::raw::find_name(name), reading);
}

uint32_t TRW_FindCode(uint32_t system, uint32_t code, TRW_Reading* reading) {
    if (!trv::raw::is_record(reading)) return TRV_STATUS_PARAMETER;
    const bool known = system < TRW_SYSTEM_END;
    const trv::raw::Name* name =
        known ? trv::raw::find_code(static_cast<trv::raw::System>(system), code) : nullptr;
    return trv::raw::give(name, "no pixels that are known here have such a code", reading);
}

uint32_t TRW_NameOf(uint32_t system, uint32_t format, uint32_t packing, uint32_t phase,
                    TRW_Reading* reading) {
    if (!trv::raw::is_record(reading)) return TRV_STATUS_PARAMETER;
    const bool known = system < TRW_SYSTEM_END && packing < TRW_PACKING_END;
    const trv::raw::Name* name =
        known ? trv::raw::name_of(static_cast<trv::raw::System>(system), format & 0xFF,
                                  static_cast<uint8_t>(packing), trv::raw::phase_of(phase))
              : nullptr;
    return trv::raw::give(name, "the system has no name that is known here for such pixels",
                          reading);
}

uint32_t TRW_NameAt(uint32_t index, TRW_Reading* reading) {
    if (!trv::raw::is_record(reading)) return TRV_STATUS_PARAMETER;
    if (index >= trv::raw::name_count) return TRV_STATUS_UNSUPPORTED;
    trv::raw::fill_record(trv::raw::reading_of(trv::raw::names[index]), reading);
    return TRV_STATUS_OK;
}
