#include "image/dispatch/level.h"

namespace trv {

const Level levels[level_count] = {
#define TRV_LEVEL_ROW(level) \
    {#level, &level::bayer_spans, &level::direct_rows, &level::field_rows, &machines[0].memory},
#include "image/simd/levels.inc"
};

namespace {

// Written once, by the loader, before any caller can be here.
unsigned chosen = 0;
Level current{};

// The machine may not be chosen yet; its policy stays where it is.
__attribute__((constructor)) void choose_level() {
    chosen = highest_level();
    current = on_machine(levels[chosen], this_machine());
}

}  // namespace

unsigned best_level() {
    return chosen;
}

const Level& current_level() {
    return current;
}

}  // namespace trv
