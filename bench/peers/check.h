// A contestant is timed only after its result was compared with ours.
#pragma once

#include <string>

#include "bench/peers/contestant.h"

namespace peers {

// Empty when the contestant does the task as it says; else what was found instead.
std::string check(const Task& task, const Contestant& own, const Contestant& contestant);

}  // namespace peers
