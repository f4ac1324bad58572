// Where lines begin and end.
#pragma once

#include "tool/guess/hypothesis.h"

namespace trv::tool::guess {

struct Lines {
    uint64_t skip;      // bytes before the first line
    uint64_t width;     // samples of a line that carry a picture
    uint64_t height;    // whole lines
    uint64_t padding;   // bytes after each line
    uint64_t trailing;  // bytes after the last line, which needs no padding
    bool edge_seen;     // whether the samples show where lines begin, rather than the length
};

Lines find_lines(const Dump& dump, const Hypothesis& hypothesis);

}  // namespace trv::tool::guess
