// Picture files as frames, for looking at.
#pragma once

#include <optional>
#include <string>

#include "tool/picture/frame.h"

namespace trv::tool {

// A PNG, a TIFF, or a PGM or PPM of binary samples; nothing if the file begins like none of them.
// Throws Failure when it does and cannot be read.
std::optional<Frame> read_picture(const std::string& path);

}  // namespace trv::tool
