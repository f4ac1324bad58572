// Which formats and packings say what a hypothesis says.
#pragma once

#include "image/format/format.h"
#include "tool/guess/hypothesis.h"

namespace trv::tool::guess {

// The bits that samples reach, but for a few that stick out.
struct Depth {
    uint32_t top = 0;     // bits in use, counted from the lowest
    uint32_t silent = 0;  // lowest bits that are never set
};

struct Reading {
    const Format* format;
    uint32_t packing;  // TRW_PACKING_... that becomes the format; 0: none
    Phase phase;
    bool swapped;
    double weight;  // 1, or less for what is rarer
    std::string remark;
};

// Names of all packings that have the same bits at the same places: for these, that packing and
// those that are the same by another name.
std::vector<std::string> names_of(const raw::Packing& row);

// All that the bytes do not tell apart; empty where nothing here reads them.
std::vector<Reading> readings(const Hypothesis& hypothesis, const Depth& depth, const Dump& dump,
                              uint64_t skip);

}  // namespace trv::tool::guess
