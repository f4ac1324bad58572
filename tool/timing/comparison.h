// How long several ways take, in turns and in one process, so that what the machine does to one it
// does to the others: medians of many rounds, to be compared with each other rather than with
// another day's.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace trv::timing {

// Does its work once, on what belongs to the thread of this number.
using Candidate = std::function<void(unsigned thread)>;

struct Rules {
    unsigned rounds = 31;
    unsigned threads = 1;  // all do the same candidate's work at the same time
    bool cold = false;     // the data of a call are not in the caches
};

// Median seconds of a call of each candidate. A call of several threads lasts until all are done.
std::vector<double> compare(const std::vector<Candidate>& candidates, const Rules& rules);

// How many sets of so many bytes a thread goes through in turn: one when warm; when cold as many as
// together exceed the caches.
size_t sets_of(uint64_t bytes, const Rules& rules);

// Seconds on the clock.
double seconds(const std::function<void()>& work);

double median(std::vector<double> values);

}  // namespace trv::timing
