// The three routes that keep the format: Mono8, Mono16 and BGRX32 to themselves.
#pragma once

#include "image/api/job.h"

namespace trv {

uint32_t copy(const Job& job);

}  // namespace trv
