// What a call would make of two buffers, and why, in words.
#pragma once

#include "image/exports/buffer.h"
#include "raw/explain/writer.h"
#include "trvil/raw.h"

namespace trv::raw {

// Returns the status of TRW_Unpack, or for a packing of 0 of TIL_Convert.
uint32_t explain(Handle source, uint32_t packing, Handle destination, Writer* out);

// Returns the status of TRW_Convert, `threads` at work, where there is memory for strips.
uint32_t explain_conversion(Handle source, uint32_t packing, Handle destination,
                            const TRW_Settings& settings, uint32_t threads, Writer* out);

}  // namespace trv::raw
