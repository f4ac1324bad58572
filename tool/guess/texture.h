// Whether samples make a picture: neighbours of one colour are alike in a picture, and in nothing
// else.
#pragma once

#include <array>

#include "tool/guess/packing.h"

namespace trv::tool::guess {

enum class Pattern { grey, mosaic, triple, quad, luma_first, chroma_first };

// Samples until the colour repeats along a line, and lines until it repeats downwards.
uint32_t across(Pattern pattern);
uint32_t down(Pattern pattern);
// Samples of a pixel.
uint32_t per_pixel(Pattern pattern);

// Bands of four lines each, from all over the dump, as samples. Only a part of long lines.
struct Bands {
    std::vector<std::array<std::vector<uint32_t>, 4>> lines;
    size_t width;  // samples of each
};
inline constexpr size_t many_bands = 32, few_bands = 6;
Bands take_bands(const Dump& dump, uint64_t start, uint64_t pitch, const Packing& packing,
                 size_t most = many_bands);

// How much neighbouring samples of one colour differ, where 1 is what any two samples of that
// colour do: 0.05 to 0.3 in pictures.
struct Fit {
    Pattern pattern;
    double cost;
};

// All patterns that are possible in samples of this packing, in no order.
std::vector<Fit> fit_patterns(const Bands& bands, const Packing& packing);

}  // namespace trv::tool::guess
