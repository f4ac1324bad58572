// How a picture is cut: into bands that threads take one by one, and bands into strips of lines
// that stay in the cache. Any cut gives the same bytes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "image/format/job.h"

namespace trv::raw {

struct Cut {
    uint64_t strip_bytes;       // of samples in words
    uint64_t least_band_bytes;  // that are worth another thread
    uint32_t bands_per_thread;  // so that one that is held up leaves the others something to do
};

// Samples of a strip, what they come from and the picture that they become lie in a second cache of
// 1 MiB; each strip begins anew to read memory in order, so short ones are slow. A thread takes
// some 10 us to wake.
inline constexpr Cut usual_cut{256 * 1024, 64 * 1024, 8};

struct Partition {
    uint32_t height;
    uint32_t bands;
    uint32_t band_lines;   // of each but the last
    uint32_t seats;        // threads that may work on it
    uint32_t strip_lines;  // of each but a band's last; 0: whole bands at once
    size_t seat_bytes;     // memory for the strip of one thread

    size_t bytes() const { return seat_bytes * seats; }
    LineRange band(uint32_t part) const {
        const uint32_t first = part * band_lines, left = height - first;
        return {first, first + (band_lines < left ? band_lines : left)};
    }
};

// Bands of a picture of `height` lines, at least 1, where `bytes` are read and written.
Partition cut_bands(uint32_t height, uint64_t bytes, uint32_t threads, const Cut& cut);

// Strips of lines of `line_bytes` in words. Nothing is said of a seat's memory.
void cut_strips(uint64_t line_bytes, const Cut& cut, Partition* partition);

// Memory that begins and ends with cache lines.
constexpr size_t in_cache_lines(uint64_t bytes) {
    constexpr size_t cache_line = 64;
    return (bytes + cache_line - 1) / cache_line * cache_line;
}

}  // namespace trv::raw
