// The direct routes and the copies as walks over lines. Nothing here asks the buffer library.
#pragma once

#include "image/direct/row.h"
#include "image/format/decision.h"

namespace trv {

// Converts lines of the source, whose height is that of the picture; the destination's size was
// checked, or does not need to be. All lines in one call or in several give the same bytes.
//
// Where lines of the destination do not overlap, or only by a pad byte that is kept, calls for
// different lines may run at the same time: none touches a byte that is another's, neither past its
// last line nor in the pad of its last pixel. Where they overlap further the order of lines counts.
void convert_lines(const direct::Rows& rows, const Job& job, const Decision& decision,
                   LineRange lines, const direct::Memory& memory);

}  // namespace trv
