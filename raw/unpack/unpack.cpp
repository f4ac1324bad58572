#include "raw/unpack/unpack.h"

#include "raw/unpack/decision.h"

namespace trv::raw {
namespace {

// A picture without padding on either side is one long line. Groups must not straddle what were its
// lines.
bool is_one_line(const Packing& packing, const Job& job) {
    const uint64_t width = job.source.width;
    return width % packing.group == 0 && job.packing_offset % packing.group == 0 &&
           job.source.stride == width / packing.group * packing.bytes &&
           job.destination.stride == width * pixel_bytes && width * job.source.height <= UINT32_MAX;
}

void unpack_lines(const Level& level, const Packing& packing, const Job& job) {
    const bool one_line = is_one_line(packing, job);
    const uint32_t height = one_line ? 1 : job.source.height;
    Line line{};
    line.source = job.source.address;
    line.destination = job.destination.address;
    line.first = job.packing_offset % packing.group;
    line.width = one_line ? job.source.width * job.source.height : job.source.width;
    const Row row = level.unpack->row[packing.code - 1];
    for (uint32_t y = 0; y < height; ++y) {
        row(line);
        line.source += job.source.stride;
        line.destination += job.destination.stride;
    }
}

}  // namespace

uint32_t unpack(const Level& level, Handle source, uint32_t packing, Handle destination) {
    const UnpackDecision decision = decide_unpack(source, packing, destination);
    if (decision.refusal == UnpackRefusal::none)
        unpack_lines(level, *decision.packing, decision.job);
    return status_of(decision.refusal);
}

}  // namespace trv::raw
