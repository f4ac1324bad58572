#include "image/exports/convert.h"

#include "image/dispatch/run.h"
#include "image/exports/kernel.h"
#include "image/exports/read_job.h"
#include "image/format/decision.h"
#include "trvil/til.h"

namespace trv {

uint32_t convert(const Level& level, Handle source, Handle destination) {
    Job job{};
    const Buffer from(source), to(destination);
    if (!read_required(from, to, &job)) return TRV_STATUS_PARAMETER;
    read_rest(from, to, &job);
    const Decision decision = decide(job);
    if (decision.refusal != Refusal::none) return status_of(decision.refusal);
    // Deliberate: a conversion that has come so far is a success, whatever the kernel says.
    if (decision.kind == RouteKind::bayer)
        bayer::run(level, decision.kernel, source, destination, decision.source->significant);
    else
        convert_lines(level, job, decision, {0, job.source.height});
    return TRV_STATUS_OK;
}

}  // namespace trv

uint32_t TIL_Convert(uint64_t source, uint64_t destination) {
    return trv::convert(trv::current_level(), source, destination);
}
