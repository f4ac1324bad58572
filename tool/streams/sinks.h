// The sinks there are: see sink.h for how to add one.
#pragma once

#include <functional>
#include <memory>

#include "tool/files/kind.h"
#include "tool/files/same_file.h"
#include "tool/files/y4m.h"
#include "tool/streams/sink.h"

namespace trv::tool {

struct Target {
    std::string output;  // "-" for stdout; with {n} a file for each frame
    Kind kind;
    bool force;
    const ReadFiles& read;                          // which no numbered file may replace
    FrameRate rate = {};                            // of Y4M
    std::optional<uint64_t> frames = std::nullopt;  // as far as it is known
};

// Writes a picture whole or not at all under a name. By several threads at a time.
using WritePicture = std::function<void(const StreamFrame&, const std::string& name)>;

// A file for each frame.
std::unique_ptr<FrameSink> numbered_sink(const Target& target, WritePicture write);

// All frames in one file or on stdout: a TIFF of a page each, raw pixels, raw video or Y4M.
std::unique_ptr<FrameSink> joined_sink(const Target& target, WritePicture write_single);

}  // namespace trv::tool
