// The candidates of a task in turns, each call on the next frame of the ring.
#pragma once

#include <vector>

#include "bench/options.h"
#include "bench/peers/candidate.h"

namespace peers {

// Seconds per call of each candidate (medians; with threads, of all of them together), then of a
// memory copy of half the bytes that the task reads and writes.
std::vector<double> measure(const Task& task, const Candidates& candidates,
                            const bench::Options& options);

}  // namespace peers
