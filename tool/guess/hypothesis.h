// What a dump may be, as far as its bytes tell: packing, pattern, and where lines begin and end.
#pragma once

#include "tool/guess/texture.h"

namespace trv::tool::guess {

struct Hypothesis {
    const Packing* packing;
    Pattern pattern;
    uint64_t pitch;  // bytes from line to line
    uint64_t start;  // where some line begins, as far as whole groups of samples need it
    double cost;     // as Fit has it
};

// What its pattern costs where lines begin `start` bytes into the dump; 1 where the packing cannot
// be that.
double cost_at(const Dump& dump, const Hypothesis& hypothesis, uint64_t start);

// The best ones first, without those that another one explains: twice the pitch of a good one, or a
// pitch beside it. Empty when the dump is too short to tell.
std::vector<Hypothesis> likely_hypotheses(const Dump& dump);

}  // namespace trv::tool::guess
