// The frames of a recording become pictures, in files of their own or together.
#pragma once

#include "tool/commands/conversion.h"
#include "tool/streams/sinks.h"
#include "tool/streams/source.h"

namespace trv::tool {

struct StreamJob {
    const Conversion& conversion;
    Recording recording;
    std::string output;
    const ReadFiles& read;  // by all jobs
    TRW_Pool* pool;
    FrameRate rate;
    uint32_t makers;  // frames that are made at a time
    bool json;
};

// How many frames of one stream are made at a time: the fewest threads of `threads` (0: one per
// processor) that are not said to be fewer by `jobs`.
uint32_t makers_of(uint32_t jobs, uint32_t threads);

// Throws Failure, for a frame or a file that is missing too, but what is whole is written then.
// Throws ReaderGone.
void convert_stream(const StreamJob& job);

// Says what is wrong with a recording whose other frames are written. Throws the last.
void throw_failures(const FrameSource& source);

}  // namespace trv::tool
