// A candidate is timed only after its result was compared with ours.
#pragma once

#include <string>

#include "bench/peers/candidate.h"

namespace peers {

// Empty when the candidate does the task as it says; else what was found instead.
std::string check(const Task& task, const Candidate& own, const Candidate& candidate);

}  // namespace peers
