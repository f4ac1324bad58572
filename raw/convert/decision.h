// What TRW_Convert makes of two buffers, decided by what they say of themselves and by the
// settings; no pixel is looked at. TRW_Convert acts on the decision, TRW_ExplainConvert puts it
// into words.
#pragma once

#include "image/exports/buffer.h"
#include "image/format/decision.h"
#include "raw/unpack/decision.h"
#include "trvil/raw.h"

namespace trv::raw {

enum class Course : uint8_t { none, convert, unpack, unpack_and_convert };

enum class ConvertRefusal : uint8_t {
    none,
    buffers,     // without a packing, something is missing that every conversion needs
    unpacking,   // as unpack.refusal says
    samples,     // are not what the settings say
    long_lines,  // of unpacked samples
    conversion   // as conversion.refusal says, which the status may not
};

struct ConvertDecision {
    uint32_t status;
    ConvertRefusal refusal;
    Course course;          // none: nothing is to be done, whatever the status
    UnpackDecision unpack;  // with a packing; of unpack_and_convert the job's source counts
    Job job;                // of the conversion; the unpacked picture has no address
    Decision conversion;

    const Side& source() const {
        return course == Course::convert ? job.source : unpack.job.source;
    }
    const Side& destination() const {
        return course == Course::unpack ? unpack.job.destination : job.destination;
    }
};

ConvertDecision decide_convert(Handle source, uint32_t packing, Handle destination,
                               const TRW_Settings& settings);

}  // namespace trv::raw
