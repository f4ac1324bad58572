#include "raw/strips/cut.h"

namespace trv::raw {
namespace {

uint32_t smaller(uint64_t a, uint64_t b) {
    return static_cast<uint32_t>(a < b ? a : b);
}

// How often `part` goes into `whole`, a rest counted.
uint32_t parts_of(uint32_t whole, uint32_t part) {
    return static_cast<uint32_t>((uint64_t{whole} + part - 1) / part);
}

uint32_t count_bands(uint32_t height, uint64_t bytes, uint32_t threads, const Cut& cut) {
    if (threads == 1) return 1;
    const uint64_t most = smaller(uint64_t{threads} * cut.bands_per_thread, height);
    const uint32_t worth = smaller(bytes / cut.least_band_bytes, most);
    return worth == 0 ? 1 : worth;
}

}  // namespace

Partition cut_bands(uint32_t height, uint64_t bytes, uint32_t threads, const Cut& cut) {
    Partition p{};
    p.height = height;
    p.band_lines = parts_of(height, count_bands(height, bytes, threads, cut));
    p.bands = parts_of(height, p.band_lines);
    p.seats = smaller(threads, p.bands);
    return p;
}

void cut_strips(uint64_t line_bytes, const Cut& cut, Partition* p) {
    p->strip_lines = smaller(cut.strip_bytes / line_bytes + 1, p->band_lines);
}

}  // namespace trv::raw
