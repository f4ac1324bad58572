// How far apart lines may lie in a dump: where bytes at a distance are unusually alike.
#pragma once

#include "tool/guess/packing.h"

namespace trv::tool::guess {

// Distances in bytes worth a closer look, the most promising first; few enough to try them all.
std::vector<uint32_t> likely_pitches(const Dump& dump);

}  // namespace trv::tool::guess
