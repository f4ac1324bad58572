// A band of a picture as strips: a few lines at a time pass from stage to stage while they are in
// the cache.
#pragma once

#include "raw/convert/cut.h"
#include "raw/level.h"

namespace trv::raw {

// Unpacked lines of the picture, and room for more.
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

class Strips {
  public:
    Strips(const Level& level, const ConvertDecision& decision, uint32_t strip_lines)
        : level_(level),
          d_(decision),
          strip_lines_(strip_lines),
          height_(decision.source().height) {}

    // `memory` is what a partition says of a seat.
    void make(LineRange band, uint8_t* memory) const;

  private:
    void pass(Strip* strip, LineRange lines) const;
    LineRange with_neighbours(LineRange lines) const;
    void load(Strip* strip, LineRange wanted) const;
    void fill(const Strip& strip, uint32_t width, LineRange lines) const;
    void fill_after(const Strip& strip) const;

    const Level& level_;
    const ConvertDecision& d_;
    uint32_t strip_lines_, height_;
};

// Lines of a picture by TIL_Convert's rules, any of which look no further than the next line.
void convert_lines(const Level& level, const Job& job, const Decision& decision, LineRange lines);

}  // namespace trv::raw
