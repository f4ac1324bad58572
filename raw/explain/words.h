// The parts of an explanation: what is missing, why a call is refused, and what is to be known of
// one that is not.
#pragma once

#include "image/exports/buffer.h"
#include "image/format/decision.h"
#include "raw/explain/writer.h"
#include "raw/unpack/decision.h"

namespace trv::raw {

inline constexpr const char* method_names[] = {"dup", "ave", "med"};
inline constexpr const char* phase_names[] = {"A (RGGB)", "B (GRBG)", "C (GBRG)", "D (BGGR)"};

// A parameter that a call needs and that reads zero.
struct Missing {
    const char* side = nullptr;  // "source" or "destination"; null: nothing is missing
    Handle handle = 0;
    uint32_t id = 0;
};

void explain_missing(const Missing& missing, Writer* out);

void explain_refusal(const Job& job, const Decision& decision, Writer* out);

void explain_success(const Job& job, const Decision& decision, Writer* out);

struct Unpacking {
    Handle source;
    uint32_t packing;
    Handle destination;
    const UnpackDecision& decision;
};

void explain_unpack(const Unpacking& call, Writer* out);

}  // namespace trv::raw
