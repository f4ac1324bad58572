// The commands of the tool, one file each. A command adds itself to the command line and throws
// Failure when it cannot do its work.
#pragma once

#include <CLI/CLI.hpp>

namespace trv::tool {

void add_convert(CLI::App* app);
void add_calibrate(CLI::App* app);
void add_info(CLI::App* app);
void add_guess(CLI::App* app);
void add_phase(CLI::App* app);
void add_frame(CLI::App* app);
void add_play(CLI::App* app);
void add_verify(CLI::App* app);
void add_bench(CLI::App* app);
void add_formats(CLI::App* app);
void add_routes(CLI::App* app);
void add_sample(CLI::App* app);
void add_grab(CLI::App* app);  // after convert, whose options it has
void add_help(CLI::App* app);

// In the order in which help lists them.
inline constexpr void (*commands[])(CLI::App*) = {
    add_convert, add_play,  add_verify, add_grab,    add_calibrate, add_info,   add_guess,
    add_phase,   add_frame, add_bench,  add_formats, add_routes,    add_sample, add_help};

}  // namespace trv::tool
