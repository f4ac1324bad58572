// What TRW_Unpack makes of two buffers, decided by what they say of themselves; no pixel is looked
// at. TRW_Unpack acts on the decision, TRW_Explain puts it into words.
#pragma once

#include "image/exports/buffer.h"
#include "image/format/job.h"
#include "raw/packing.h"

namespace trv::raw {

enum class UnpackRefusal : uint8_t {
    none,
    no_source,
    no_source_memory,
    no_source_pixels,
    no_destination,
    no_destination_memory,
    no_destination_format,
    no_packing,
    other_samples,  // which the destination's format does not hold
    short_source_stride,
    short_destination_stride,
    too_few_lines,
    inside_group
};

struct UnpackDecision {
    UnpackRefusal refusal;
    const Packing* packing;  // null when there is no such packing, or it was not looked up
    Job job;                 // as far as it was read

    uint64_t packed_line() const {
        return line_bytes(*packing, job.packing_offset, job.source.width);
    }
    uint64_t line() const { return uint64_t{job.source.width} * 2; }
};

// Whether samples of a packing become pixels of a format, whatever the upper bytes of its code say.
bool goes_to(const Packing& packing, uint32_t format);

// What is wrong with a source of a known packing, whatever its samples go to.
UnpackRefusal check_source(const UnpackDecision& decision);

UnpackDecision decide_unpack(Handle source, uint32_t packing, Handle destination);

uint32_t status_of(UnpackRefusal refusal);

}  // namespace trv::raw
