#include "image/exports/convert.h"

#include "image/dispatch/run.h"
#include "image/exports/kernel.h"
#include "image/format/decision.h"
#include "trvil/til.h"

namespace trv {
namespace {

// The order of the queries is part of the contract with the buffer library.
bool read_required(const Buffer& source, const Buffer& destination, Job* job) {
    if (!source.present() || !destination.present()) return false;
    if ((job->destination.format = destination.format()) == 0) return false;
    if ((job->source.format = source.format()) == 0) return false;
    if ((job->source.address = source.address()) == nullptr) return false;
    return (job->destination.address = destination.address()) != nullptr;
}

void read_rest(const Buffer& source, const Buffer& destination, Job* job) {
    job->source.stride = source.stride();
    job->destination.stride = destination.stride();
    job->source.height = source.height();
    job->destination.height = destination.height();
    job->source.width = source.width();
    job->destination.width = destination.width();
    job->method = source.bayer_method();
    job->phase = source.bayer_phase();
    job->packing_offset = source.packing_offset();
}

}  // namespace

uint32_t convert(const Level& level, Handle source, Handle destination) {
    Job job{};
    const Buffer from(source), to(destination);
    if (!read_required(from, to, &job)) return TRV_STATUS_PARAMETER;
    read_rest(from, to, &job);
    const Decision decision = decide(job);
    if (decision.refusal != Refusal::none) return status_of(decision.refusal);
    // Deliberate: a conversion that has come so far is a success, whatever the kernel says.
    if (decision.way == Way::bayer)
        bayer::run(level, decision.kernel, source, destination, decision.source->significant);
    else
        convert_lines(level, job, decision, {0, job.source.height});
    return TRV_STATUS_OK;
}

}  // namespace trv

uint32_t TIL_Convert(uint64_t source, uint64_t destination) {
    return trv::convert(trv::current_level(), source, destination);
}
