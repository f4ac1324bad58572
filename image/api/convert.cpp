#include "image/api/convert.h"

#include "image/api/copy.h"
#include "image/api/direct_run.h"
#include "image/api/job.h"
#include "image/api/routes.h"
#include "image/api/size_rule.h"
#include "image/bayer/kernel.h"
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

bool find_method(uint32_t value, bayer::Method* method) {
    switch (value) {
        case TBL_BAYER_METHOD_DUP:
            *method = bayer::dup;
            return true;
        case TBL_BAYER_METHOD_AVE:
            *method = bayer::ave;
            return true;
        case TBL_BAYER_METHOD_MED:
            *method = bayer::med;
            return true;
        default:
            return false;
    }
}

bool find_phase(uint32_t value, Phase* phase) {
    switch (value) {
        case TBL_BAYER_PHASE_A:
            *phase = Phase::A;
            return true;
        case TBL_BAYER_PHASE_B:
            *phase = Phase::B;
            return true;
        case TBL_BAYER_PHASE_C:
            *phase = Phase::C;
            return true;
        case TBL_BAYER_PHASE_D:
            *phase = Phase::D;
            return true;
        default:
            return false;
    }
}

bayer::Output bayer_output(Code destination) {
    switch (destination) {
        case Code::RGB16:
            return bayer::Output::RGB16;
        case Code::BGR16:
            return bayer::Output::BGR16;
        case Code::BGR24:
            return bayer::Output::BGR24;
        case Code::BGRX32:
            return bayer::Output::BGRX32;
        default:
            return bayer::Output::RGBX32;
    }
}

bool fits(const Job& job, const Format& source, const Format& destination) {
    return fits(source, destination,
                {uint64_t{job.source.width} * job.source.height, job.destination.bytes()});
}

uint32_t demosaic(const Level& level, const Job& job, const Format& source,
                  const Format& destination) {
    if (!fits(job, source, destination)) return TRV_STATUS_PARAMETER;
    bayer::Kernel kernel{source.significant == 8 ? bayer::Input::BAY8 : bayer::Input::BAYn,
                         bayer_output(destination.code), bayer::dup, Phase::A};
    if (!find_method(job.method, &kernel.method) || !find_phase(job.phase, &kernel.phase) ||
        !bayer::exists(kernel))
        return TRV_STATUS_BAYER_SETTING;
    // Deliberate: a conversion that has come so far is a success, whatever the kernel says.
    bayer::run(level, kernel, job.source.handle, job.destination.handle, source.significant);
    return TRV_STATUS_OK;
}

uint32_t convert_direct(const Level& level, const Job& job, const Format& source,
                        const Format& destination) {
    if (!fits(job, source, destination)) return TRV_STATUS_PARAMETER;
    convert_lines(level, job, source, destination);
    return TRV_STATUS_OK;
}

uint32_t route(const Level& level, const Job& job) {
    const Way way = find_way(job.source.format, job.destination.format);
    if (way == Way::none) return TRV_STATUS_UNSUPPORTED;
    const Format& source = *find_format(job.source.format & 0xFF);
    const Format& destination = *find_format(job.destination.format & 0xFF);
    switch (way) {
        case Way::copy:
            return copy(job);
        case Way::helper:
            return convert_by_helper(level, job, source, destination);
        case Way::bayer:
            return demosaic(level, job, source, destination);
        default:
            return convert_direct(level, job, source, destination);
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
    return route(level, job);
}

}  // namespace trv

uint32_t TIL_Convert(uint64_t source, uint64_t destination) {
    return trv::convert(trv::current_level(), source, destination);
}
