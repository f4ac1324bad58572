// Where the frames of a stream go.
//
// A new sink derives from FrameSink and is made beside the others, in sinks.cpp. run_stream
// (pipeline.h) calls it: arrived() and made() for several frames at a time from several threads,
// put() for one frame after the other in the order of the recording, and finish() once after the
// last. A sink that is destroyed without finish() leaves nothing half behind. One that looks on, as
// a list of checksums does, holds another sink and passes every call on.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tool/checksums/list.h"
#include "tool/cli/error.h"
#include "tool/picture/frame.h"

namespace trv::tool {

// A frame on its way. Its memory is used again for later frames.
struct StreamFrame {
    uint64_t index = 0;            // in the recording, with the frames that are left out
    uint64_t place = 0;            // in the stream
    std::string file;              // that it was read from
    std::optional<Frame> dump;     // as it was read; changed while the picture is made
    std::optional<Frame> picture;  // without padding between its lines
    std::vector<uint8_t> bytes;    // what is written where that is not the picture's own bytes
    FrameSum input;                // place of the dump; sums are those of a sink that looks on
    FrameSum output;
};

class FrameSink {
  public:
    FrameSink() = default;
    virtual ~FrameSink() = default;
    FrameSink(const FrameSink&) = delete;
    FrameSink& operator=(const FrameSink&) = delete;

    // The dump is read, and no sample is changed yet.
    virtual void arrived(StreamFrame*) {}

    // The picture is made: what takes work but no order, as compressing does.
    virtual void made(StreamFrame*) {}

    // In order. Throws Failure, or ReaderGone.
    virtual void put(const StreamFrame& frame) = 0;

    // All frames were put: what is whole now appears under its name. Throws Failure.
    virtual void finish() = 0;
};

}  // namespace trv::tool
