// Proposals how to read a dump: formats of this library, ranked, each with its reason.
#pragma once

#include <optional>

#include "tool/guess/hypothesis.h"
#include "tool/picture/frame.h"

namespace trv::tool::guess {

struct Proposal {
    const Format* format;
    uint32_t packing;  // TRW_PACKING_... that becomes the format; 0: none
    Phase phase;       // none where it is no mosaic
    uint64_t width, height, stride, skip, trailing;
    bool swapped;  // the bytes of each pair have to be exchanged first
    uint32_t used_bits;
    double score;  // 100 would be perfectly smooth
    std::string reason;

    Geometry geometry() const;
    // Packings that the bytes are as well: those of the same bits by other names.
    std::vector<std::string> other_names;
};

// Best first, at most `most`; empty when nothing stands out.
std::vector<Proposal> propose(const Dump& dump, size_t most);

// The picture as a proposal reads it, or nothing when that many bytes are not at hand.
std::optional<Frame> read_as(const Dump& dump, const Proposal& proposal);

}  // namespace trv::tool::guess
