// Picture files from frames in memory.
#pragma once

#include <string>

#include "tool/cli/report.h"
#include "tool/files/dng.h"
#include "tool/files/kind.h"
#include "tool/files/output.h"
#include "tool/picture/frame.h"

namespace trv::tool {

// Writes without publishing. Throws Failure. Only a PNG tells of its progress, which may be
// null.
void fill_picture(const Frame& frame, Kind kind, const Output& output, Progress* progress);

// Writes and publishes. Throws Failure, and then leaves nothing behind.
void write_picture(const Frame& frame, Kind kind, Output* output, Progress* progress);

// The same without padding between lines, to a file or "-", and says how to read a raw file.
void put_picture(Frame frame, Kind kind, const std::string& target, bool force, Progress* progress);

// The bytes of a file that is no picture, without publishing it. Throws Failure.
void write_text(const std::string& words, const Output& output);

// How raw pixels are to be read: "640x480 BGR24 in lines of 1920 bytes".
std::string layout_text(const Geometry& picture);

// A mosaic as a DNG, to a file or "-".
void put_dng(Frame mosaic, const DngColours& colours, const std::string& target, bool force);

}  // namespace trv::tool
