// Small pictures to choose by: balanced, stretched and shrunk.
#pragma once

#include <optional>

#include "tool/picture/frame.h"

namespace trv::tool {

// The same samples in whole bytes or words; a frame that has them already is only copied.
Frame unpacked(const Frame& frame);

// BGR24, at most this large; `phase` is that of mosaics. Nothing where there is no way to colours.
std::optional<Frame> preview(const Frame& frame, Phase phase, uint32_t most_width,
                             uint32_t most_height);

}  // namespace trv::tool
