// What other projects call the formats and phases.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "image/format/format.h"

namespace trv::tool {

// The worlds whose names are known, as they prefix a name: "pfnc:RGB16".
const std::vector<std::string>& worlds();

// The format that has this name elsewhere; null if none has. A name may carry its world as prefix.
// Where two worlds share a name they mean the same. Throws Failure for an unknown prefix, and for a
// name whose pixels lie in memory as those of no format here.
const Format* find_foreign_format(const std::string& name);

// The same for the colours at the start of a mosaic. Here worlds disagree, and a name that means
// two things throws Failure.
std::optional<Phase> find_foreign_phase(const std::string& name);

// The names of a format in one of the worlds.
std::vector<std::string> foreign_names(const Format& format, const std::string& world);
std::vector<std::string> foreign_names(Phase phase);

}  // namespace trv::tool
