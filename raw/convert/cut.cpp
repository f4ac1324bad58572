#include "raw/convert/cut.h"

#include "raw/demosaic/decision.h"
#include "raw/explain/access_extent.h"

namespace trv::raw {

bool depends_on_order(const ConvertDecision& d) {
    if (d.course == Course::unpack) return false;
    const AccessExtent to = destination_extent(d.job, d.conversion);
    if (to.lines_overlap()) return true;
    if (d.course == Course::unpack_and_convert) return false;
    const AccessExtent from = source_extent(d.job, d.conversion);
    return !lie_apart(d.job.source.address, from.bytes(), d.job.destination.address, to.bytes());
}

Partition cut_picture(const ConvertDecision& d, uint32_t threads, const Cut& cut) {
    const Side &from = d.source(), &to = d.destination();
    const uint64_t bytes = (uint64_t{from.stride} + to.stride) * uint64_t{from.height};
    Partition p = cut_bands(from.height, bytes, depends_on_order(d) ? 1 : threads, cut);
    if (d.course == Course::unpack_and_convert) {
        cut_strips(d.job.source.stride, cut, &p);
        p.seat_bytes = in_cache_lines(strip_shape(d, p).bytes());
    }
    return p;
}

StripShape strip_shape(const ConvertDecision& d, const Partition& partition) {
    const Side& side = d.job.source;
    return {side.width, side.height, partition.strip_lines, neighbour_lines(d.conversion),
            side.width % 2 != 0};
}

}  // namespace trv::raw
