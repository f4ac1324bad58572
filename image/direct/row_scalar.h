// The line loops of the scalar level: the rules as they stand, pixel after pixel. A pixel is read
// before it is written, so source and destination may be the same memory.
#pragma once

#include "image/direct/row.h"

namespace trv::TRV_LEVEL {
namespace {

template <size_t Number, typename Rule>
void row(const Line& job) {
    constexpr size_t bytes = routing::table.conversions[Number].destination_bytes;
    uint8_t* out = job.destination + job.begin * bytes;
    for (size_t x = job.begin; x < job.end; ++x, out += bytes) Rule::pixel(job.source, x, out, job);
}

}  // namespace
}  // namespace trv::TRV_LEVEL
