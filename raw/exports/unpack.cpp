#include "trvil/raw.h"

#include <cstring>

#include "image/format/format.h"
#include "raw/exports/record.h"
#include "raw/unpack/decision.h"
#include "raw/unpack/unpack.h"

namespace trv::raw {
namespace {

uint32_t format_of(const Packing& packing) {
    for (const Format& format : formats)
        if (goes_to(packing, static_cast<uint32_t>(format.code))) return whole_code(format);
    return 0;
}

}  // namespace
}  // namespace trv::raw

uint32_t TRW_PackingInfoGet(uint32_t packing, uint32_t first, uint32_t width,
                            TRW_PackingInfo* info) {
    if (!trv::raw::is_record(info)) return TRV_STATUS_PARAMETER;
    const trv::raw::Packing* p = trv::raw::find_packing(packing);
    if (p == nullptr) return TRV_STATUS_UNSUPPORTED;
    TRW_PackingInfo full{};
    full.bits = p->bits;
    full.group_pixels = p->group;
    full.group_bytes = p->bytes;
    full.format = trv::raw::format_of(*p);
    full.line_bytes = trv::raw::line_bytes(*p, first, width);
    std::memcpy(full.name, p->name, std::strlen(p->name));
    trv::raw::fill_record(full, info);
    return TRV_STATUS_OK;
}

uint32_t TRW_Unpack(uint64_t source, uint32_t packing, uint64_t destination) {
    return trv::raw::unpack(trv::raw::current_level(), source, packing, destination);
}
