// Reading, converting and writing at the same time.
#pragma once

#include <functional>

#include "tool/streams/sink.h"
#include "tool/streams/source.h"

namespace trv::tool {

class StreamProgress;

// Makes the picture of a dump. The first frame of a stream is made alone, so that it may settle
// something for those after it; of those several are made at a time.
using MakePicture = std::function<void(StreamFrame*)>;

// Takes every frame of the source to the sink, by one thread that reads, `makers` that make
// pictures, and the calling one, which writes. At most makers + 3 frames are in memory. Returns how
// many were put. Throws what the sink and the makers throw, and the source's failure where there is
// no frame at all; other failures of the source are left to the caller, after the sink has
// finished.
uint64_t run_stream(FrameSource* source, const MakePicture& make, FrameSink* sink, uint32_t makers,
                    StreamProgress* progress);

}  // namespace trv::tool
