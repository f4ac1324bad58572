// What a conversion asks of its two buffers, and in which order.
#pragma once

#include "image/exports/buffer.h"
#include "image/format/job.h"

namespace trv {

// Whether all is there that every conversion needs. The order of the queries is part of the
// contract with the buffer library.
inline bool read_required(const Buffer& source, const Buffer& destination, Job* job) {
    if (!source.present() || !destination.present()) return false;
    if ((job->destination.format = destination.format()) == 0) return false;
    if ((job->source.format = source.format()) == 0) return false;
    if ((job->source.address = source.address()) == nullptr) return false;
    return (job->destination.address = destination.address()) != nullptr;
}

inline void read_rest(const Buffer& source, const Buffer& destination, Job* job) {
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

}  // namespace trv
