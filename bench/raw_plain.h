// The loops that a user would write, one per packing, built as the peers' are.
#pragma once

#include <cstdint>

#include "bench/memory.h"

namespace bench {

// Lines without padding of whole groups.
void unpack_plainly(uint32_t packing, const uint8_t* from, uint8_t* to, Size size);

}  // namespace bench
