// PNG files.
#pragma once

#include <cstdio>

#include "tool/cli/report.h"
#include "tool/picture/frame.h"

namespace trv::tool {

// `progress` may be null. What the stream does not take, it remembers; the caller closes it. Throws
// Failure with Exit::output.
void write_png(const Frame& frame, FILE* file, Progress* progress);

}  // namespace trv::tool
