// TBS_Explain: the questions of TIL_Convert in their order, and what the answers come to.
#include <inttypes.h>

#include "companion/words.h"
#include "image/format/buffer.h"
#include "trvil/tbl.h"

namespace trv::companion {
namespace {

Side read_side(Handle handle) {
    const Buffer buffer(handle);
    return {handle,          buffer.format(), buffer.address(),
            buffer.stride(), buffer.width(),  buffer.height()};
}

Job read_job(Handle source, Handle destination) {
    const Buffer from(source);
    return {read_side(source), read_side(destination), from.bayer_method(), from.bayer_phase(),
            from.packing_offset()};
}

// The first thing missing of what every conversion needs, in the order in which it is asked for.
struct Missing {
    const char* side = nullptr;  // null: nothing is missing
    Handle handle = 0;
    uint32_t id = 0;
};

Missing find_missing(const Job& job) {
    const Side &from = job.source, &to = job.destination;
    const auto of_source = [&](uint32_t id) { return Missing{"source", from.handle, id}; };
    const auto of_destination = [&](uint32_t id) { return Missing{"destination", to.handle, id}; };
    if (!Buffer(from.handle).present()) return of_source(TBL_PARAMETER_PRESENT);
    if (!Buffer(to.handle).present()) return of_destination(TBL_PARAMETER_PRESENT);
    if (to.format == 0) return of_destination(TBL_PARAMETER_FORMAT);
    if (from.format == 0) return of_source(TBL_PARAMETER_FORMAT);
    if (from.address == nullptr) return of_source(TBL_PARAMETER_ADDRESS);
    if (to.address == nullptr) return of_destination(TBL_PARAMETER_ADDRESS);
    return {};
}

void explain_no_buffer(const Missing& missing, Writer* out) {
    out->add("the %s's handle 0x%" PRIX64 " names no buffer", missing.side, missing.handle);
    out->begin("why");
    out->add("%s", missing.handle == 0 ? "it was never made, or was released"
                                       : "it was released, or another buffer library made it");
    out->begin("next");
    out->add("make a buffer by TBS_BufferCreate or TBS_BufferWrap and look at the status of that");
}

void explain_missing(const Missing& missing, Writer* out) {
    if (missing.id == TBL_PARAMETER_PRESENT) return explain_no_buffer(missing, out);
    const bool format = missing.id == TBL_PARAMETER_FORMAT;
    out->add("the %s has no %s", missing.side, format ? "pixel format" : "memory");
    out->begin("why");
    out->add("its parameter %" PRIu32 " reads zero", missing.id);
    out->begin("next");
    out->add("let the buffer library answer it; TBS_BufferCreate and TBS_BufferWrap always do");
}

void explain(const Job& job, const Decision& decision, Writer* out) {
    if (decision.refusal == Refusal::none)
        explain_success(job, decision, out);
    else
        explain_refusal(job, decision, out);
}

}  // namespace
}  // namespace trv::companion

uint32_t TBS_Explain(uint64_t source, uint64_t destination, char* text, uint64_t size) {
    using namespace trv::companion;
    Writer out(text, size);
    const trv::Job job = read_job(source, destination);
    const Missing missing = find_missing(job);
    const bool complete = missing.side == nullptr;
    const trv::Decision decision = complete ? trv::decide(job) : trv::Decision{};
    const uint32_t status = complete ? trv::status_of(decision.refusal) : TRV_STATUS_PARAMETER;
    out.add("status %" PRIu32 ": ", status);
    if (complete)
        explain(job, decision, &out);
    else
        explain_missing(missing, &out);
    return status;
}
