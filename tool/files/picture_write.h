// Picture files from frames in memory.
#pragma once

#include <string>

#include "tool/cli/report.h"
#include "tool/files/kind.h"
#include "tool/files/output.h"
#include "tool/picture/frame.h"

namespace trv::tool {

// Writes and publishes. Throws Failure, and then leaves nothing behind.
void write_picture(const Frame& frame, Kind kind, Output* output, Progress* progress);

// The same without padding between lines, to a file or "-", and says how to read a raw file.
void put_picture(Frame frame, Kind kind, const std::string& target, bool force, Progress* progress);

}  // namespace trv::tool
