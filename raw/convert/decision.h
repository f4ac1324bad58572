// What TRW_Convert makes of two buffers, decided by what they say of themselves and by the
// settings; no pixel is looked at.
#pragma once

#include "image/exports/buffer.h"
#include "image/format/decision.h"
#include "raw/packing.h"
#include "trvil/raw.h"

namespace trv::raw {

enum class Course : uint8_t { none, convert, unpack, unpack_and_convert };

struct ConvertDecision {
    uint32_t status;
    Course course;           // none: nothing is to be done, whatever the status
    const Packing* packing;  // of both courses that unpack
    Job unpacking;           // of Course::unpack whole, of unpack_and_convert the source's side
    Job job;                 // of the conversion; the unpacked picture has no address
    Decision conversion;
};

ConvertDecision decide_convert(Handle source, uint32_t packing, Handle destination,
                               const TRW_Settings& settings);

}  // namespace trv::raw
