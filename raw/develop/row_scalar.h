// The rows of the scalar level.
#pragma once

#include "raw/develop/row.h"

namespace trv::TRV_LEVEL {
namespace {

template <typename Sample>
inline void correct(const raw::SampleLine& line) {
    for (size_t x = 0; x < line.width; ++x) {
        Sample sample;
        __builtin_memcpy(&sample, line.source + x * sizeof sample, sizeof sample);
        line.out[x] = raw::corrected(sample, line.limit, line.offset[x], line.shift,
                                     {line.high[x], line.low[x]});
    }
}

inline void mix(uint8_t* colours, size_t count, const raw::Matrix& matrix) {
    for (size_t i = 0; i < count; ++i) {
        uint16_t colour[3], mixed[3];
        __builtin_memcpy(colour, colours + i * sizeof colour, sizeof colour);
        for (unsigned k = 0; k < 3; ++k)
            mixed[k] = raw::mixed(matrix.row[k], colour[0], colour[1], colour[2]);
        __builtin_memcpy(colours + i * sizeof mixed, mixed, sizeof mixed);
    }
}

inline void bend(uint8_t* words, size_t count, const raw::Curve& curve) {
    for (size_t i = 0; i < count; ++i) {
        uint16_t word;
        __builtin_memcpy(&word, words + i * sizeof word, sizeof word);
        __builtin_memcpy(words + i * sizeof word, &curve.word[word], sizeof word);
    }
}

}  // namespace
}  // namespace trv::TRV_LEVEL
