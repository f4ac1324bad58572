// How long conversions take, beside memory copies of the same bytes in the same run.
#pragma once

#include <memory>

#include "tool/cli/geometry.h"
#include "tool/commands/path.h"
#include "tool/develop/developer.h"
#include "tool/timing/comparison.h"

namespace trv::tool {

struct Task {
    Geometry source;  // without padding
    Path path;        // that the source's format begins; alone where it is only unpacked
    Demosaic how;
    timing::Rules rules;                         // each thread converts pictures of its own
    std::shared_ptr<const Developer> developer;  // null: converted without developing
};

struct Timing {
    double seconds;        // the median of a round, in which every thread converts one picture
    double copy_seconds;   // the same for the copy
    double pixels, bytes;  // of a round; bytes read and written

    double ratio() const { return seconds / copy_seconds; }
    double megapixels() const { return pixels / seconds * 1e-6; }
    double gigabytes() const { return bytes / seconds * 1e-9; }
};

// Throws Failure when a conversion is refused.
Timing measure(const Task& task);

}  // namespace trv::tool
