// Which samples make the missing colours of a pixel, one pixel at a time.
//
// A pixel's own colour is its sample. Of the other two, the row colour is the red or blue that
// shares the line with green, the other colour is the one of the lines above and below:
//
//     green site            red or blue site
//      .  o  .                 o  g  o          g green, r row colour, o other colour
//      r [g] r                 g [r] g
//      .  o  .                 o  g  o
#pragma once

#include <cstddef>
#include <cstdint>

#include "image/bayer/span.h"
#include "image/pixel/layout.h"

namespace trv::bayer {

struct Colours {
    uint32_t green;
    uint32_t row;
    uint32_t other;
};

// The neighbourhood of pixel x. Samples above 8 bits are brought down by `shift` when a colour is
// made, in one step with the division of a mean.
template <typename Sample>
struct Window {
    const Line& lines;
    size_t x;

    uint32_t at(const uint8_t* line, size_t column) const {
        return layout::load<Sample>(line + column * sizeof(Sample));
    }
    uint32_t copy(uint32_t sample) const { return sample >> lines.shift; }

    uint32_t own() const { return copy(at(lines.line, x)); }
    uint32_t left() const { return at(lines.line, x - 1); }
    uint32_t right() const { return at(lines.line, x + 1); }
    uint32_t above() const { return at(lines.above, x); }
    uint32_t above_left() const { return at(lines.above, x - 1); }
    uint32_t above_right() const { return at(lines.above, x + 1); }
};

// Nearest: the 2x2 block that has the pixel at its lower right.
struct Dup {
    template <typename S>
    static Colours green(const Window<S>& w) {
        return {w.own(), w.copy(w.left()), w.copy(w.above())};
    }
    template <typename S>
    static Colours colour(const Window<S>& w) {
        return {w.copy(w.left()), w.own(), w.copy(w.above_left())};
    }
    template <typename S>
    static Colours first_green(const Window<S>& w) {
        return {w.own(), w.copy(w.right()), w.copy(w.above())};
    }
    template <typename S>
    static Colours first_colour(const Window<S>& w, bool green_from_right) {
        const uint32_t green = green_from_right ? w.right() : w.above();
        return {w.copy(green), w.own(), w.copy(w.above_right())};
    }
    template <typename S>
    static Colours last_green(const Window<S>& w) {
        return green(w);
    }
    template <typename S>
    static Colours last_colour(const Window<S>& w) {
        return colour(w);
    }
};

template <typename Layout>
inline void store(uint8_t* out, const Colours& c, bool row_is_red) {
    Layout::store(out, row_is_red ? layout::Rgb{c.row, c.green, c.other}
                                  : layout::Rgb{c.other, c.green, c.row});
}

}  // namespace trv::bayer
