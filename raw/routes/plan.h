// The path from one format to another over direct conversions, so that the picture is kept.
#pragma once

#include <cstddef>
#include <cstdint>

#include "image/format/format.h"
#include "image/format/members.h"

namespace trv::raw {

inline constexpr unsigned most_steps = 3;

// By which methods and in which phases a mosaic may be demosaiced: a bit for each pair.
using Demosaics = uint16_t;

constexpr Demosaics demosaic_bit(bayer::Method method, Phase phase) {
    return static_cast<Demosaics>(
        1u << (4 * static_cast<unsigned>(method) + static_cast<unsigned>(phase)));
}

inline constexpr Demosaics any_demosaic = 0xFFF;

// Those by which TIL_Convert makes `to` of `from`; all of them where no mosaic is demosaiced.
Demosaics direct_demosaics(const Format& from, const Format& to);

// Whether conversions read a format, or make it.
bool is_read(const Format& format);
bool is_made(const Format& format);

struct Plan {
    bool found;
    unsigned steps;
    const Format* format[most_steps + 1];  // what the picture goes through
};

// The shortest path on which nothing is lost before the last step, over steps that all go by one of
// `demosaics`.
Plan plan(const Format& from, const Format& to, Demosaics demosaics);

}  // namespace trv::raw
