#include "raw/explain/explain.h"

#include <inttypes.h>

#include "raw/exports/settings.h"
#include "raw/pool/pool.h"

namespace trv::raw {
namespace {

void explain_settings(const TRW_Settings& settings, uint32_t status, Writer* out) {
    out->add("status %" PRIu32 ": ", status);
    if (status == TRV_STATUS_PARAMETER) {
        out->add("the settings' size is %" PRIu32, settings.size);
        out->begin("why");
        out->add("a record has at least %" PRIu32 " bytes", least_record);
        out->begin("next");
        return out->add("set it to sizeof(TRW_Settings)");
    }
    out->add("the settings have something that this library does not know");
    out->begin("why");
    out->add("they have %" PRIu32 " bytes, it knows %zu of them, and byte %" PRIu32 " is not 0",
             settings.size, sizeof settings, unknown_setting(settings));
    out->begin("next");
    out->add("leave that 0, or load a library as new as the header");
}

}  // namespace
}  // namespace trv::raw

uint32_t TRW_Explain(uint64_t source, uint32_t packing, uint64_t destination, char* text,
                     uint64_t size) {
    trv::raw::Writer out(text, size);
    return trv::raw::explain(source, packing, destination, &out);
}

uint32_t TRW_ExplainConvert(uint64_t source, uint32_t packing, uint64_t destination,
                            const TRW_Settings* settings, const TRW_Pool* pool, char* text,
                            uint64_t size) {
    using namespace trv::raw;
    Writer out(text, size);
    TRW_Settings read;
    const uint32_t status = read_settings(settings, &read);
    if (status == TRV_STATUS_OK)
        return explain_conversion(source, packing, destination, read, threads_of(pool), &out);
    explain_settings(*settings, status, &out);
    return status;
}
