// The questions of the call that is explained in their order, and what the answers come to.
#include "raw/explain/explain.h"

#include <inttypes.h>

#include "image/exports/buffer.h"
#include "raw/explain/words.h"
#include "raw/unpack/decision.h"

namespace trv::raw {
namespace {

Side read_side(const Buffer& buffer) {
    Side side{};
    side.format = buffer.format();
    side.address = buffer.address();
    side.stride = buffer.stride();
    side.width = buffer.width();
    side.height = buffer.height();
    return side;
}

Job read_job(Handle source, Handle destination) {
    const Buffer from(source);
    return {read_side(from), read_side(Buffer(destination)), from.bayer_method(),
            from.bayer_phase(), from.packing_offset()};
}

void explain_decided(const Job& job, const Decision& decision, Writer* out) {
    if (decision.refusal == Refusal::none)
        explain_success(job, decision, {}, out);
    else
        explain_refusal(job, decision, {}, out);
}

uint32_t explain_convert(Handle source, Handle destination, Writer* out) {
    const Job job = read_job(source, destination);
    const Missing missing = find_missing(source, destination, job);
    const bool complete = missing.side == nullptr;
    const Decision decision = complete ? decide(job) : Decision{};
    const uint32_t status = complete ? status_of(decision.refusal) : TRV_STATUS_PARAMETER;
    out->add("status %" PRIu32 ": ", status);
    if (complete)
        explain_decided(job, decision, out);
    else
        explain_missing(missing, out);
    return status;
}

uint32_t explain_unpack(Handle source, uint32_t packing, Handle destination, Writer* out) {
    const UnpackDecision decision = decide_unpack(source, packing, destination);
    const uint32_t status = status_of(decision.refusal);
    out->add("status %" PRIu32 ": ", status);
    explain_unpack({source, packing, destination, decision}, out);
    return status;
}

}  // namespace

uint32_t explain(Handle source, uint32_t packing, Handle destination, Writer* out) {
    return packing == 0 ? explain_convert(source, destination, out)
                        : explain_unpack(source, packing, destination, out);
}

}  // namespace trv::raw
