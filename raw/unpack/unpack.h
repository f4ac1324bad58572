// Unpacking a picture, line by line.
#pragma once

#include "image/exports/buffer.h"
#include "image/format/job.h"
#include "raw/level.h"

namespace trv::raw {

// TRW_Unpack at a level.
uint32_t unpack(const Level& level, Handle source, uint32_t packing, Handle destination);

// Lines of a picture that was found to be right, at least one. Calls for different lines may run at
// the same time where lines of the destination do not overlap.
void unpack_lines(const Level& level, const Packing& packing, const Job& job, LineRange lines);

}  // namespace trv::raw
