// The instruction-set levels of this library's loops; which of them runs is chosen when it is
// loaded.
#pragma once

#include "image/dispatch/level.h"
#include "raw/demosaic/span.h"
#include "raw/develop/row.h"
#include "raw/unpack/row.h"

namespace trv::raw {

struct Level {
    const char* name;
    const Rows* unpack;
    const DemosaicSpans* demosaic;
    const DevelopRows* develop;
    trv::Level image;  // loops of conversions; those of fields are not here
};

// In the order of their names. Every level gives the same bytes.
extern const Level levels[level_count];

// Index of the highest level that this machine runs.
unsigned best_level();

// What the exported functions use: levels[best_level()], by the policy of this machine.
Level current_level();

}  // namespace trv::raw
