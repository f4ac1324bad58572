#include "image/dispatch/level.h"

namespace trv {

const Level levels[level_count] = {
#define TRV_LEVEL_ROW(level) {#level, &level::bayer_spans, &level::direct_rows, &level::field_rows},
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

const Level& current_level() {
    return levels[chosen];
}

}  // namespace trv
