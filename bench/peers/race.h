// Contestants in turns: each is called once a round, on the next frame of the ring, by one thread
// or by several at once that have their own frames.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "bench/peers/frames.h"

namespace peers {

struct Rules {
    Size size{1920, 1080};
    bool cold = false;
    int rounds = 31;
    unsigned threads = 1;
};

// Seconds per call of each contestant (medians over the rounds; with threads, of all of them
// together), then of a memory copy of half the bytes that the task reads and writes.
std::vector<double> race(const Task& task, const Contestants& contestants, const Rules& rules);

}  // namespace peers
