#include "image/exports/convert.h"

#include "image/direct/copy.h"
#include "image/direct/run.h"
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

void demosaic(const Level& level, const Job& job, const Decision& decision) {
    // Deliberate: a conversion that has come so far is a success, whatever the kernel says.
    bayer::run(level, decision.kernel, job.source.handle, job.destination.handle,
               decision.source->significant);
}

void run(const Level& level, const Job& job, const Decision& decision) {
    switch (decision.way) {
        case Way::copy:
            return copy(*level.memory, job, decision);
        case Way::helper:
            return convert_by_helper(level, job, *decision.source, *decision.destination);
        case Way::bayer:
            return demosaic(level, job, decision);
        default:
            return convert_lines(level, job, *decision.source, *decision.destination);
    }
}

}  // namespace

uint32_t convert(const Level& level, Handle source, Handle destination) {
    Job job{};
    job.source.handle = source;
    job.destination.handle = destination;
    const Buffer from(source), to(destination);
    if (!read_required(from, to, &job)) return TRV_STATUS_PARAMETER;
    read_rest(from, to, &job);
    const Decision decision = decide(job);
    if (decision.refusal == Refusal::none) run(level, job, decision);
    return status_of(decision.refusal);
}

}  // namespace trv

uint32_t TIL_Convert(uint64_t source, uint64_t destination) {
    return trv::convert(trv::current_level(), source, destination);
}
