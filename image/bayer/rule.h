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
#include "image/format/layout.h"

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
    const Lines& lines;
    size_t x;

    uint32_t at(const uint8_t* line, size_t column) const {
        return layout::load<Sample>(line + column * sizeof(Sample));
    }
    uint32_t copy(uint32_t sample) const { return sample >> lines.shift; }
    uint32_t mean(uint32_t a, uint32_t b) const { return (a + b) >> (lines.shift + 1); }
    uint32_t mean(uint32_t a, uint32_t b, uint32_t c, uint32_t d) const {
        return (a + b + c + d) >> (lines.shift + 2);
    }

    uint32_t own() const { return copy(at(lines.line, x)); }
    uint32_t left() const { return at(lines.line, x - 1); }
    uint32_t right() const { return at(lines.line, x + 1); }
    uint32_t above() const { return at(lines.above, x); }
    uint32_t above_left() const { return at(lines.above, x - 1); }
    uint32_t above_right() const { return at(lines.above, x + 1); }
    uint32_t below() const { return at(lines.below, x); }
    uint32_t below_left() const { return at(lines.below, x - 1); }
    uint32_t below_right() const { return at(lines.below, x + 1); }
};

// The 2x2 block that has the pixel at its lower right. No line has rules of its own but for pixel
// 0.
struct Nearest {
    template <typename W>
    static Colours green(const W& w) {
        return {w.own(), w.copy(w.left()), w.copy(w.above())};
    }
    template <typename W>
    static Colours colour(const W& w) {
        return {w.copy(w.left()), w.own(), w.copy(w.above_left())};
    }
    template <typename W>
    static Colours first_green(const W& w) {
        return {w.own(), w.copy(w.right()), w.copy(w.above())};
    }
    template <typename W>
    static Colours first_colour(const W& w, bool green_from_right) {
        const uint32_t green = green_from_right ? w.right() : w.above();
        return {w.copy(green), w.own(), w.copy(w.above_right())};
    }
    template <typename W>
    static Colours last_green(const W& w) {
        return green(w);
    }
    template <typename W>
    static Colours last_colour(const W& w) {
        return colour(w);
    }
};

// Means of all neighbours of a colour, on lines that have one above and one below. Pixel 0 and the
// last pixel of an even width lack a side. There, deliberately, green of a red or blue site leaves
// out the horizontal neighbour, which the edge lines do not.
struct Means {
    template <typename W>
    static Colours green(const W& w) {
        return {w.own(), w.mean(w.left(), w.right()), w.mean(w.above(), w.below())};
    }
    template <typename W>
    static Colours colour(const W& w) {
        return {w.mean(w.left(), w.right(), w.above(), w.below()), w.own(),
                w.mean(w.above_left(), w.above_right(), w.below_left(), w.below_right())};
    }
    template <typename W>
    static Colours first_green(const W& w) {
        return {w.own(), w.copy(w.right()), w.mean(w.above(), w.below())};
    }
    template <typename W>
    static Colours first_colour(const W& w, bool) {
        return {w.mean(w.above(), w.below()), w.own(), w.mean(w.above_right(), w.below_right())};
    }
    template <typename W>
    static Colours last_green(const W& w) {
        return {w.own(), w.copy(w.left()), w.mean(w.above(), w.below())};
    }
    template <typename W>
    static Colours last_colour(const W& w) {
        return {w.mean(w.above(), w.below()), w.own(), w.mean(w.above_left(), w.below_left())};
    }
};

// Where there are four neighbours, the mean of the two middle ones: one outlier has no say.
struct Medians : Means {
    template <typename W>
    static uint32_t median(const W& w, uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
        const uint32_t low_ab = a < b ? a : b, high_ab = a < b ? b : a;
        const uint32_t low_cd = c < d ? c : d, high_cd = c < d ? d : c;
        return w.mean(low_ab > low_cd ? low_ab : low_cd, high_ab < high_cd ? high_ab : high_cd);
    }
    template <typename W>
    static Colours colour(const W& w) {
        return {median(w, w.left(), w.right(), w.above(), w.below()), w.own(),
                median(w, w.above_left(), w.above_right(), w.below_left(), w.below_right())};
    }
};

// The first and the last line: the one neighbouring line, here `above`, stands for both.
struct EdgeMeans {
    template <typename W>
    static Colours green(const W& w) {
        return {w.own(), w.mean(w.left(), w.right()), w.copy(w.above())};
    }
    template <typename W>
    static Colours colour(const W& w) {
        return {w.mean(w.left(), w.right()), w.own(), w.mean(w.above_left(), w.above_right())};
    }
    template <typename W>
    static Colours first_green(const W& w) {
        return {w.own(), w.copy(w.right()), w.copy(w.above())};
    }
    template <typename W>
    static Colours first_colour(const W& w, bool) {
        return {w.mean(w.right(), w.above()), w.own(), w.copy(w.above_right())};
    }
    template <typename W>
    static Colours last_green(const W& w) {
        return {w.own(), w.copy(w.left()), w.copy(w.above())};
    }
    template <typename W>
    static Colours last_colour(const W& w) {
        return {w.mean(w.left(), w.above()), w.own(), w.copy(w.above_left())};
    }
};

template <typename Layout>
inline void store(uint8_t* out, const Colours& c, bool row_is_red) {
    Layout::store(out, row_is_red ? layout::Rgb{c.row, c.green, c.other}
                                  : layout::Rgb{c.other, c.green, c.row});
}

}  // namespace trv::bayer
