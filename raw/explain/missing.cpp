// What a call cannot do without.
#include <inttypes.h>

#include "raw/explain/words.h"

namespace trv::raw {
namespace {

void explain_no_buffer(const Missing& missing, Writer* out) {
    out->add("the %s's handle 0x%" PRIX64 " names no buffer", missing.side, missing.handle);
    out->begin("why");
    out->add("%s", missing.handle == 0 ? "it was never made, or was released"
                                       : "it was released, or another buffer library made it");
    out->begin("next");
    out->add("make a buffer by TBS_BufferCreate or TBS_BufferWrap and look at the status of that");
}

}  // namespace

Missing find_missing(Handle source, Handle destination, const Job& job) {
    const Side &from = job.source, &to = job.destination;
    const auto of_source = [&](uint32_t id) { return Missing{"source", source, id}; };
    const auto of_destination = [&](uint32_t id) {
        return Missing{"destination", destination, id};
    };
    if (!Buffer(source).present()) return of_source(TBL_PARAMETER_PRESENT);
    if (!Buffer(destination).present()) return of_destination(TBL_PARAMETER_PRESENT);
    if (to.format == 0) return of_destination(TBL_PARAMETER_FORMAT);
    if (from.format == 0) return of_source(TBL_PARAMETER_FORMAT);
    if (from.address == nullptr) return of_source(TBL_PARAMETER_ADDRESS);
    if (to.address == nullptr) return of_destination(TBL_PARAMETER_ADDRESS);
    return {};
}

void explain_missing(const Missing& missing, Writer* out) {
    if (missing.id == TBL_PARAMETER_PRESENT) return explain_no_buffer(missing, out);
    const char* what = missing.id == TBL_PARAMETER_FORMAT    ? "pixel format"
                       : missing.id == TBL_PARAMETER_ADDRESS ? "memory"
                                                             : "pixels";
    out->add("the %s has no %s", missing.side, what);
    out->begin("why");
    out->add("its parameter %" PRIu32 " reads zero", missing.id);
    out->begin("next");
    out->add("let the buffer library answer it; TBS_BufferCreate and TBS_BufferWrap always do");
}

}  // namespace trv::raw
