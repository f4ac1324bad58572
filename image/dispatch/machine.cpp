#include "image/dispatch/machine.h"

#include "image/simd/processor.h"

namespace trv {
namespace {

// Written once, by the loader, before any caller can be here.
Machine machine = machines[0];

__attribute__((constructor)) void choose_machine() {
    if (processor_make() != Make::amd) return;
    machine = machines[1];
    if (last_cache_bytes() != 0) machine.memory = amd_policy(last_cache_bytes());
}

}  // namespace

const Machine& this_machine() {
    return machine;
}

}  // namespace trv
