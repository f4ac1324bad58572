// A direct route as a walk over lines.
#pragma once

#include "image/dispatch/level.h"
#include "image/format/job.h"

namespace trv {

// Converts every line of the source. The destination's size was checked.
void convert_lines(const Level& level, const Job& job, const Format& source,
                   const Format& destination);

// The routes of the five helpers, which step their source in whole 16-bit words.
void convert_by_helper(const Level& level, const Job& job, const Format& source,
                       const Format& destination);

}  // namespace trv
