// The parts of an explanation: what is missing, why a call is refused, and what is to be known of
// one that is not.
#pragma once

#include "image/exports/buffer.h"
#include "image/format/decision.h"
#include "raw/explain/writer.h"
#include "raw/unpack/decision.h"

namespace trv::raw {

inline constexpr const char* method_names[] = {"dup", "ave", "med", "gradient"};
inline constexpr const char* phase_names[] = {"A (RGGB)", "B (GRBG)", "C (GBRG)", "D (BGGR)"};

// A parameter that a call needs and that reads zero.
struct Missing {
    const char* side = nullptr;  // "source" or "destination"; null: nothing is missing
    Handle handle = 0;
    uint32_t id = 0;
};

// The first thing missing of what every conversion needs, in the order in which it is asked for;
// `job` is read as far as that.
Missing find_missing(Handle source, Handle destination, const Job& job);

void explain_missing(const Missing& missing, Writer* out);

// What goes in front of a conversion and is not told by its source.
struct Before {
    const UnpackDecision* unpack = nullptr;  // what the source is unpacked from, line by line
    bool sets_method = false, sets_phase = false;
};

void explain_refusal(const Job& job, const Decision& decision, const Before& before, Writer* out);

void explain_success(const Job& job, const Decision& decision, const Before& before, Writer* out);

struct Unpacking {
    Handle source;
    uint32_t packing;
    Handle destination;
    const UnpackDecision& decision;
};

void explain_unpack(const Unpacking& call, Writer* out);

// Where lines begin in a group, if it is not its first pixel.
void note_place(const UnpackDecision& decision, Writer* out);

// How many lines are written, if the destination has more.
void note_lines(const UnpackDecision& decision, Writer* out);

}  // namespace trv::raw
