#include "raw/level.h"

namespace trv::raw {

const Level levels[level_count] = {
#define TRV_LEVEL_ROW(level) \
    {#level,                 \
     &level::unpack_rows,    \
     &level::demosaic_spans, \
     &level::develop_rows,   \
     {#level, &level::bayer_spans, &level::direct_rows, nullptr, &machines[0].memory}},
#include "image/simd/levels.inc"
};

namespace {

// Written once, by the loader, before any caller can be here.
unsigned chosen = 0;

__attribute__((constructor)) void choose_level() {
    chosen = highest_level();
}

}  // namespace

unsigned best_level() {
    return chosen;
}

Level current_level() {
    Level level = levels[chosen];
    level.image = on_machine(level.image, this_machine());
    return level;
}

}  // namespace trv::raw
