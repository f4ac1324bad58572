// A mosaic's phase as parameter 10 of a buffer.
#pragma once

#include "image/format/format.h"
#include "trvil/tbl.h"

namespace trv::raw {

constexpr uint32_t phase_parameter(Phase phase) {
    constexpr uint32_t step = TBL_BAYER_PHASE_B - TBL_BAYER_PHASE_A;
    return phase == Phase::none ? 0 : TBL_BAYER_PHASE_A + step * static_cast<uint32_t>(phase);
}

}  // namespace trv::raw
