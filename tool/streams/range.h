// Which frames of a recording are wanted.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace trv::tool {

// Frames count from 0: first, first + step, ... before `end`.
struct FrameRange {
    uint64_t first = 0;
    std::optional<uint64_t> end;
    uint64_t step = 1;

    bool has(uint64_t index) const;
    bool is_over(uint64_t index) const { return end && index >= *end; }

    // How many of the first `total` frames it has.
    uint64_t count(uint64_t total) const;
};

// "A:B:STEP", of which any may be left out, or "A" for that frame alone; empty for all. Throws
// Failure.
FrameRange range_named(const std::string& name);

}  // namespace trv::tool
