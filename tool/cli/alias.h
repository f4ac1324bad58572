// What other systems call formats and phases, by the raw library's table of names.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "image/format/format.h"
#include "tool/cli/catalogue.h"

namespace trv::tool {

// The systems whose names are known, as they prefix a name: "pfnc:RGB16".
std::vector<std::string> systems();

// The pixels that have this name elsewhere, or this number (pfnc:0x010C002B); nullopt if none have.
// Throws Failure for an unknown prefix, a name that systems disagree about, and pixels that nothing
// here reads.
std::optional<Pixels> find_alias(const std::string& name);

// The same for the colours at the start of a mosaic.
std::optional<Phase> find_phase_alias(const std::string& name);

// The names of pixels in a system.
std::vector<std::string> aliases(const Pixels& pixels, const std::string& system);
std::vector<std::string> aliases(Phase phase);

// All pixels that have a name somewhere and are unpacked first.
std::vector<Pixels> packed_pixels();

}  // namespace trv::tool
