// What a call would make of two buffers, and why, in words.
#pragma once

#include "image/exports/buffer.h"
#include "raw/explain/writer.h"

namespace trv::raw {

// Returns the status of TRW_Unpack, or for a packing of 0 of TIL_Convert.
uint32_t explain(Handle source, uint32_t packing, Handle destination, Writer* out);

}  // namespace trv::raw
