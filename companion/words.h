// The two halves of an explanation: why a conversion is refused, and what is to be known of one
// that is not.
#pragma once

#include "companion/writer.h"
#include "image/format/decision.h"

namespace trv::companion {

inline constexpr const char* method_names[] = {"dup", "ave", "med"};
inline constexpr const char* phase_names[] = {"A (RGGB)", "B (GRBG)", "C (GBRG)", "D (BGGR)"};

void explain_refusal(const Job& job, const Decision& decision, Writer* out);

void explain_success(const Job& job, const Decision& decision, Writer* out);

}  // namespace trv::companion
