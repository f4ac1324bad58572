// The kinds of file that the tool writes.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "image/format/format.h"

namespace trv::tool {

enum class Kind { png, tif, ppm, pgm, dng, raw, y4m, rgb24, bgr24, rgb48le, gray, gray16le };

// Whether it is video: frames one after the other, without anything or in a stream of YUV4MPEG2.
bool is_video(Kind kind);

// The pixels that raw video has, by the name that ffmpeg has for them; null for other kinds.
const Format* video_format(Kind kind);

const char* kind_name(Kind kind);
std::vector<std::string> kind_names();
std::optional<Kind> find_kind(const std::string& name);

// By the end of the file's name. Throws Failure when it says nothing.
Kind kind_of_path(const std::string& path);

// What `said` names, or where that is empty what the output's name says. Throws Failure.
Kind kind_of_output(const std::string& output, const std::string& said);

// Whether pixels of a format go into a file as they are.
bool holds(Kind kind, const Format& format);

}  // namespace trv::tool
