// A band of a picture as strips: a few lines at a time pass from stage to stage while they are in
// the cache.
#pragma once

#include <stddef.h>
#include <string.h>

#include "image/format/job.h"

namespace trv::raw {

// Words of lines of the picture, and room for more.
struct Strip {
    uint8_t* memory;
    uint32_t stride;
    LineRange lines;

    uint8_t* line(uint32_t y) const { return memory + size_t{y - lines.first} * stride; }
    // Where line 0 of the picture would be: stages address lines of the picture.
    uint8_t* origin() const {
        return reinterpret_cast<uint8_t*>(reinterpret_cast<uintptr_t>(memory) -
                                          uintptr_t{stride} * lines.first);
    }
};

// What strips are made of.
struct StripShape {
    uint32_t width, height;  // of the picture
    uint32_t lines;          // of a strip
    uint32_t neighbours;     // lines above and below its own that a line is made of
    bool looks_beyond;       // whether the sample after a line counts: the first of the next one

    uint32_t stride() const { return width * uint32_t{sizeof(uint16_t)}; }
    size_t bytes() const {
        return (size_t{lines} + 2 * size_t{neighbours}) * stride() + sizeof(uint16_t);
    }
};

// Stages have fill(strip, width, lines), which puts samples of the first `width` pixels of lines
// into the strip, and finish(strip, lines), which makes lines of the picture of it.
template <typename Stages>
class Strips {
  public:
    Strips(const Stages& stages, const StripShape& shape) : stages_(stages), s_(shape) {}

    void make(LineRange band, uint8_t* memory) const {
        Strip strip{memory, s_.stride(), {0, 0}};
        for (LineRange lines{band.first, band.first}; lines.last < band.last;
             lines.first = lines.last) {
            const uint32_t left = band.last - lines.first;
            lines.last = lines.first + (s_.lines < left ? s_.lines : left);
            load(&strip, with_neighbours(lines));
            stages_.finish(strip, lines);
        }
    }

  private:
    LineRange with_neighbours(LineRange lines) const {
        const uint32_t more = s_.neighbours;
        return {lines.first < more ? 0 : lines.first - more,
                s_.height - lines.last < more ? s_.height : lines.last + more};
    }

    // Lines that are there are moved; the others are filled, each once in a band.
    void load(Strip* strip, LineRange wanted) const {
        const LineRange have = strip->lines;
        const bool has_some = have.first < have.last && wanted.first < have.last;
        const uint32_t kept = has_some ? have.last - wanted.first : 0;
        if (kept != 0)
            memmove(strip->memory, strip->line(wanted.first), size_t{kept} * strip->stride);
        strip->lines = wanted;
        const LineRange missing{wanted.first + kept, wanted.last};
        if (missing.first < missing.last) stages_.fill(*strip, s_.width, missing);
        if (s_.looks_beyond) fill_beyond(*strip);
    }

    // After the last line there is zero.
    void fill_beyond(const Strip& strip) const {
        const uint32_t next = strip.lines.last;
        if (next == s_.height)
            memset(strip.line(next), 0, sizeof(uint16_t));
        else
            stages_.fill(strip, 1, {next, next + 1});
    }

    const Stages& stages_;
    const StripShape& s_;
};

// `memory` has the shape's bytes.
template <typename Stages>
void make_strips(const Stages& stages, const StripShape& shape, LineRange band, uint8_t* memory) {
    Strips<Stages>(stages, shape).make(band, memory);
}

}  // namespace trv::raw
