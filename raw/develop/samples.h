// Samples of a picture as words, whatever they lie in.
#pragma once

#include "raw/develop/recipe.h"
#include "raw/level.h"

namespace trv::raw {

// What the samples of a source are. False: nothing that can be developed.
bool find_samples(const Buffer& source, uint32_t packing, uint32_t format, SampleSource* samples);

// The sample of a pixel.
uint16_t sample_at(const SampleSource& source, const Side& side, uint32_t x, uint32_t y);

}  // namespace trv::raw
