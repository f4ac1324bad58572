#include "raw/unpack/unpack.h"

#include "raw/unpack/decision.h"

namespace trv::raw {
namespace {

// Lines without padding on either side are one long line. Groups must not straddle what were their
// ends.
bool is_one_line(const Packing& packing, const Job& job, uint32_t lines) {
    const uint64_t width = job.source.width;
    return width % packing.group == 0 && job.packing_offset % packing.group == 0 &&
           job.source.stride == width / packing.group * packing.bytes &&
           job.destination.stride == width * pixel_bytes && width * lines <= UINT32_MAX;
}

}  // namespace

void unpack_lines(const Level& level, const Packing& packing, const Job& job, LineRange lines) {
    const uint32_t count = lines.last - lines.first;
    const bool one_line = is_one_line(packing, job, count);
    Line line{};
    line.source = job.source.address + size_t{job.source.stride} * lines.first;
    line.destination = job.destination.address + size_t{job.destination.stride} * lines.first;
    line.first = job.packing_offset % packing.group;
    line.width = one_line ? job.source.width * count : job.source.width;
    const Row row = level.unpack->row[packing.code - 1];
    for (uint32_t y = 0; y < (one_line ? 1 : count); ++y) {
        row(line);
        line.source += job.source.stride;
        line.destination += job.destination.stride;
    }
}

uint32_t unpack(const Level& level, Handle source, uint32_t packing, Handle destination) {
    const UnpackDecision decision = decide_unpack(source, packing, destination);
    if (decision.refusal == UnpackRefusal::none)
        unpack_lines(level, *decision.packing, decision.job, {0, decision.job.source.height});
    return status_of(decision.refusal);
}

}  // namespace trv::raw
