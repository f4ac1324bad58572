#include "raw/convert/cut.h"

#include "raw/demosaic/decision.h"
#include "raw/explain/access_extent.h"
#include "raw/unpack/row.h"

namespace trv::raw {
namespace {

constexpr size_t cache_line = 64;

uint32_t smaller(uint64_t a, uint64_t b) {
    return static_cast<uint32_t>(a < b ? a : b);
}

// How often `part` goes into `whole`, a rest counted.
uint32_t parts_of(uint32_t whole, uint32_t part) {
    return static_cast<uint32_t>((uint64_t{whole} + part - 1) / part);
}

uint32_t count_bands(const ConvertDecision& d, uint32_t threads, const Cut& cut) {
    if (threads == 1 || depends_on_order(d)) return 1;
    const Side &from = d.source(), &to = d.destination();
    const uint64_t bytes = (uint64_t{from.stride} + to.stride) * uint64_t{from.height};
    const uint64_t most = smaller(uint64_t{threads} * cut.bands_per_thread, from.height);
    const uint32_t worth = smaller(bytes / cut.least_band_bytes, most);
    return worth == 0 ? 1 : worth;
}

void cut_strips(const ConvertDecision& d, const Cut& cut, Partition* p) {
    const uint64_t line = d.job.source.stride;
    p->strip_lines = smaller(cut.strip_bytes / line + 1, p->band_lines);
    // The neighbours of its first and its last line, and the sample after that.
    const uint64_t lines = uint64_t{p->strip_lines} + 2 * neighbour_lines(d.conversion);
    const uint64_t bytes = lines * line + pixel_bytes;
    p->seat_bytes = (bytes + cache_line - 1) / cache_line * cache_line;
}

}  // namespace

bool depends_on_order(const ConvertDecision& d) {
    if (d.course == Course::unpack) return false;
    const AccessExtent to = destination_extent(d.job, d.conversion);
    if (to.lines_overlap()) return true;
    if (d.course == Course::unpack_and_convert) return false;
    const AccessExtent from = source_extent(d.job, d.conversion);
    return !lie_apart(d.job.source.address, from.bytes(), d.job.destination.address, to.bytes());
}

Partition cut_picture(const ConvertDecision& d, uint32_t threads, const Cut& cut) {
    const uint32_t height = d.source().height;
    Partition p{};
    p.band_lines = parts_of(height, count_bands(d, threads, cut));
    p.bands = parts_of(height, p.band_lines);
    p.seats = smaller(threads, p.bands);
    if (d.course == Course::unpack_and_convert) cut_strips(d, cut, &p);
    return p;
}

}  // namespace trv::raw
