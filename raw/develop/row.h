// Developing as rows: the loops over a line, one table per instruction-set level.
#pragma once

#include <cstddef>
#include <cstdint>

#include "raw/develop/arithmetic.h"

namespace trv {
namespace raw {

// Samples of a line, with what is taken off each and the factor of each. `out` is apart from the
// rest.
struct SampleLine {
    const uint8_t* source;  // bytes, or words at any address
    uint16_t* out;
    const uint16_t *offset, *high, *low;
    size_t width;    // at least 1
    uint16_t limit;  // what a sample is at most
    unsigned shift;  // up to 16 bits
};

struct DevelopRows {
    void (*correct_bytes)(const SampleLine&);
    void (*correct_words)(const SampleLine&);
    // Colours of three words each, in place: at least one.
    void (*mix)(uint8_t* colours, size_t count, const Matrix&);
    // Words in place, at least one.
    void (*bend)(uint8_t* words, size_t count, const Curve&);
};

}  // namespace raw

#define TRV_LEVEL_ROW(level)                    \
    namespace level {                           \
    extern const raw::DevelopRows develop_rows; \
    }
#include "image/simd/levels.inc"

}  // namespace trv
