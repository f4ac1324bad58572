// The three routes that keep the format: Mono8, Mono16 and BGRX32 to themselves.
#pragma once

#include "image/dispatch/machine.h"
#include "image/format/decision.h"

namespace trv {

// The destination was found large enough, or does not need to be.
void copy(const MemoryPolicy& policy, const Job& job, const Decision& decision);

}  // namespace trv
