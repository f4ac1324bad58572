// Lines of a picture by TRW_Convert's rules.
#pragma once

#include "image/format/decision.h"
#include "raw/level.h"

namespace trv::raw {

// Any of the rules looks no further than its neighbour_lines().
void convert_lines(const Level& level, const Job& job, const Decision& decision, LineRange lines);

}  // namespace trv::raw
