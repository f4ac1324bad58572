// How TRW_Convert cuts a picture.
#pragma once

#include "raw/convert/decision.h"
#include "raw/strips/cut.h"
#include "raw/strips/strips.h"

namespace trv::raw {

// Whether it matters in which order lines are made: then there is one band.
bool depends_on_order(const ConvertDecision& decision);

// Of a picture that has lines.
Partition cut_picture(const ConvertDecision& decision, uint32_t threads, const Cut& cut);

// Of the strips of a picture that is unpacked and converted.
StripShape strip_shape(const ConvertDecision& decision, const Partition& partition);

}  // namespace trv::raw
