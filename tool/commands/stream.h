// The frames of a recording become pictures, in files of their own or together.
#pragma once

#include <CLI/CLI.hpp>

#include "tool/checksums/writer.h"
#include "tool/commands/conversion.h"
#include "tool/streams/pipeline.h"
#include "tool/streams/sinks.h"
#include "tool/streams/source.h"

namespace trv::tool {

// What the command line says of the frames of a recording.
struct FrameOptions {
    std::string frames;
    uint64_t frame_skip = 0;
    bool partial = false;

    // Throws Failure.
    Recording recording(std::vector<std::string> files, const Geometry& geometry,
                        uint64_t skip) const;
};

// --frames, --frame-skip and --partial, after the other options of reading.
void add_frame_options(CLI::App* command, FrameOptions* o);

// What it says of a stream.
struct StreamOptions {
    std::string rate;  // empty where it is left out
    bool json = false;

    // Throws Failure.
    FrameRate frame_rate(const char* usual) const;
};

// --fps, with what is taken where it is left out, and --json.
void add_stream_options(CLI::App* command, StreamOptions* o, const char* usual, const char* group);

// Whether such an output takes more than one frame. What goes to stdout is written in order, and
// the pages of a TIFF are not. Throws Failure for an output that cannot be.
bool takes_many(const std::string& output, Kind kind);

// Whether it has one frame only, which a TIFF or a raw file holds as any picture.
bool is_single(const Recording& recording, Kind kind);

// The files that are written, as far as they are known beforehand.
std::vector<std::string> outputs_of(const Recording& recording, const std::string& output);

// How many frames of one stream are made at a time, each by one thread, where nobody says it: that
// is faster than several threads on one frame.
uint32_t makers_of(std::optional<uint32_t> jobs, uint32_t threads);

// Says what is wrong with a recording whose other frames are written. Throws the last of it.
void throw_failures(const FrameSource& source);

struct Stream {
    Recording recording;
    std::string output;
    Kind kind;
    bool force;
    const ReadFiles& read;  // by all streams of the command
    FrameRate rate;
    uint32_t makers;  // frames that are made at a time
    bool json;
    ChecksumWriter* checksums = nullptr;  // where they are wanted
    size_t job = 0;                       // of them
};

// Writes the pictures that `make` makes; those of files of their own by `write`. Throws Failure,
// for a frame or a file that is missing too, but what is whole is written then. Throws ReaderGone.
void run(const Stream& stream, const MakePicture& make, const WritePicture& write);

// The same by a conversion.
void convert_stream(const Stream& stream, const Conversion& conversion, TRW_Pool* pool);

}  // namespace trv::tool
