// The options that say what picture is made of a recording, the same for every command that makes
// one of it, and the conversion that they come to.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "tool/cli/reading.h"
#include "tool/commands/conversion.h"
#include "tool/commands/stream.h"
#include "tool/develop/options.h"

namespace trv::tool {

struct PictureOptions : FrameOptions {
    Reading reading;
    std::string phase;
    std::vector<std::string> inputs;
    DevelopOptions developing;
    std::string target, scale = "none", via = "auto";
    uint32_t depth = 0;  // 0: what suits the source
};

inline constexpr const char* making_group = "How to make the picture";

// What the dumps are and which of their frames are wanted, and how colours come of them. The
// options of developing are added beside them.
void add_recording(CLI::App* command, PictureOptions* o);
void add_making(CLI::App* command, PictureOptions* o);

// The format and the depth of the result, for commands that write files of any kind.
void add_result(CLI::App* command, PictureOptions* o);

Recording recording_of(const PictureOptions& o, const Geometry& source);

// With the settings that the options come to. Throws Failure when there is no such conversion.
Conversion conversion_of(const PictureOptions& o, const SettingTexts& said, Kind kind, bool force);

// Says over which formats the picture is made, where that is worth knowing.
void note_way(const PictureOptions& o, const Conversion& conversion);

}  // namespace trv::tool
