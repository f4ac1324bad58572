// Which format the library turns into which, and the way from a source to a picture file.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "image/pixel/format.h"
#include "tool/kind.h"

namespace trv::tool {

// Asked of the library itself with a tiny picture, so the answer is what this library does.
bool converts(const Format& from, const Format& to);
std::vector<const Format*> reachable(const Format& from);

// The methods by which a mosaic of this phase becomes `to`.
std::vector<std::string> methods_between(const Format& from, const Format& to, Phase phase);

// Formats that a picture goes through, source first, what the file holds last.
using Path = std::vector<const Format*>;

// The way to `wanted`, or where that is null to what suits the kind of file best.
Path plan(const Format& source, const Format* wanted, Kind kind);

// The same without an explanation.
std::optional<Path> find_path(const Format& source, Kind kind);

}  // namespace trv::tool
