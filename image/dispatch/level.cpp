#include "image/dispatch/level.h"

#include "image/simd/processor.h"

namespace trv {

const Level levels[level_count] = {
#define TRV_LEVEL_ROW(level) \
    {#level, &level::bayer_spans, &level::direct_rows, &level::field_rows, &machines[0].memory},
#include "image/simd/levels.inc"
};

namespace {

// Written once, by the loader, before any caller can be here.
unsigned chosen = 0;
Machine machine = machines[0];
Level current{};

void choose_machine() {
    if (processor_make() != Make::amd) return;
    machine = machines[1];
    if (last_cache_bytes() != 0) machine.memory = amd_policy(last_cache_bytes());
}

__attribute__((constructor)) void choose_level() {
    chosen = highest_level();
    choose_machine();
    current = on_machine(levels[chosen], machine);
}

}  // namespace

unsigned best_level() {
    return chosen;
}

const Machine& this_machine() {
    return machine;
}

const Level& current_level() {
    return current;
}

}  // namespace trv
