// Which format the library turns into which, directly or over several steps, and the path from a
// source to a picture file.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "image/format/format.h"
#include "tool/cli/catalogue.h"
#include "tool/files/kind.h"

namespace trv::tool {

// How mosaics are to be demosaiced on a path; not every path exists by every method.
struct Demosaic {
    uint32_t method = default_method;
    Phase phase = Phase::A;
};

enum class Via { automatic, never };

// Whether there is a direct route, by any method.
bool converts(const Format& from, const Format& to);
std::vector<const Format*> reachable(const Format& from);

// What the direct route loses of a picture, as the end of "this route ..."; null where nothing.
const char* lossy(const Format& from, const Format& to);

// The methods by which a mosaic of this phase becomes `to`.
std::vector<std::string> methods_between(const Format& from, const Format& to, Phase phase);

// Formats that a picture goes through, source first, what the file holds last.
using Path = std::vector<const Format*>;
std::string path_text(const Path& path);

// The shortest path on which nothing is lost before the last step; direct where that is no loss.
std::optional<Path> find_chain(const Format& from, const Format& to, const Demosaic& how);

// Whether the step from `step` on and the next one are one call: those of a packed mosaic over its
// samples.
bool passes_over(const Path& path, size_t step);

// The path to `wanted`, or where that is null to what suits the kind of file best.
Path plan(const Format& source, const Format* wanted, Kind kind, const Demosaic& how, Via via);

// The same to what suits the kind of file, without an explanation.
std::optional<Path> find_path(const Format& source, Kind kind, const Demosaic& how, Via via);

}  // namespace trv::tool
