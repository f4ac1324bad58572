// Which formats of this library say what a hypothesis says.
#pragma once

#include "image/format/format.h"
#include "tool/guess/hypothesis.h"

namespace trv::tool::guess {

struct Reading {
    const Format* format;
    Phase phase;
    bool swapped;
    double weight;  // 1, or less for what is rarer
    std::string remark;
};

// All that the bytes do not tell apart; empty where this library has no such format.
std::vector<Reading> readings(const Hypothesis& hypothesis, uint32_t used_bits, const Dump& dump,
                              uint64_t skip);

}  // namespace trv::tool::guess
