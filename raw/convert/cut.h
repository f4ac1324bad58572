// How a picture is cut: into bands that threads take one by one, and bands into strips of lines
// that stay in the cache. Any cut gives the same bytes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "raw/convert/decision.h"

namespace trv::raw {

struct Cut {
    uint64_t strip_bytes;       // of unpacked samples
    uint64_t least_band_bytes;  // that are worth another thread
    uint32_t bands_per_thread;  // so that one that is held up leaves the others something to do
};

// Unpacked samples of a strip, the packed ones and the picture that they become lie in a second
// cache of 1 MiB; each strip begins anew to read memory in order, so short ones are slow. A thread
// takes some 10 us to wake.
inline constexpr Cut usual_cut{256 * 1024, 64 * 1024, 8};

struct Partition {
    uint32_t bands;
    uint32_t band_lines;   // of each but the last
    uint32_t seats;        // threads that may work on it
    uint32_t strip_lines;  // of each but a band's last; 0: whole bands at once
    size_t seat_bytes;     // memory for the strip of one thread

    size_t bytes() const { return seat_bytes * seats; }
};

// Whether it matters in which order lines are made: then there is one band.
bool depends_on_order(const ConvertDecision& decision);

// Of a picture that has lines.
Partition cut_picture(const ConvertDecision& decision, uint32_t threads, const Cut& cut);

}  // namespace trv::raw
