#include <iomanip>
#include <iostream>
#include <memory>

#include "tool/cli/catalogue.h"
#include "tool/cli/error.h"
#include "tool/cli/json.h"
#include "tool/cli/reading.h"
#include "tool/cli/text.h"
#include "tool/commands/command.h"
#include "tool/files/input.h"
#include "tool/files/picture_write.h"
#include "tool/files/same_file.h"
#include "tool/guess/phase.h"
#include "tool/picture/preview.h"
#include "tool/picture/sheet.h"

namespace trv::tool {
namespace {

constexpr const char* footer =
    R"(Green is every second pixel of a mosaic, so one diagonal of each block of 2x2 pixels holds two
greens, which see nearly the same: two of the four phases fit. Those two differ by red against blue,
which only the eye can tell; look at the sheet. The pictures on it are balanced and stretched.)";

constexpr Phase phases[] = {Phase::A, Phase::B, Phase::C, Phase::D};
constexpr const char* labels[] = {"A RGGB", "B GRBG", "C GBRG", "D BGGR"};
constexpr uint32_t most_width = 640, most_height = 480;

struct Options {
    Reading reading;
    std::string input, output;
    bool force = false, json = false;
};

// Unpacked, so that samples can be told apart.
Frame read_mosaic(const Options& o) {
    const Geometry g = o.reading.geometry(true);
    if (g.format->family != Family::bayer)
        throw Failure(Exit::usage, text(g.format->name, " has no phase"), "it is not a mosaic",
                      "check -f");
    if (g.width < 2 || g.height < 2)
        throw Failure(Exit::usage, "a mosaic has at least 2x2 pixels", "", "check -s");
    return unpacked(read_frame(o.input, g, o.reading.skip));
}

void write_sheet(const Frame& mosaic, const Diagonals& diagonals, const Options& o) {
    const Geometry tile = shrunk_geometry(mosaic.geometry(), most_width, most_height);
    const Sheet sheet(tile.width, tile.height, 4);
    Progress progress(1);
    progress.start(o.output);
    for (uint32_t i = 0; i < 4; ++i) {
        const bool fitting = fits(diagonals, phases[i]);
        sheet.put(i, *preview(mosaic, phases[i], most_width, most_height),
                  text(labels[i], fitting ? "  FITS" : ""), fitting);
        progress.part(i + 1, 4);
    }
    Output file(o.output, o.force);
    write_picture(sheet.frame(), Kind::png, &file, &progress);
}

std::vector<std::string> fitting_names(const Diagonals& d) {
    std::vector<std::string> names;
    for (const Phase phase : phases)
        if (fits(d, phase)) names.emplace_back(phase_name(phase));
    return names;
}

std::string verdict(const Diagonals& d) {
    const std::vector<std::string> names = fitting_names(d);
    const std::string measured = text(" (the diagonals differ by ", std::fixed,
                                      std::setprecision(1), d.up, " and ", d.down, " levels)");
    if (names.empty()) return "cannot tell: the picture has no colour to tell by" + measured;
    return list(names, " or ") + measured;
}

void run_phase(const Options& o) {
    if (!o.output.empty() && kind_of_output(o.output, o.output == "-" ? "png" : "") != Kind::png)
        throw Failure(Exit::usage, "a sheet is a PNG", "", "end the name of the output in .png");
    if (o.json && o.output == "-")
        throw Failure(Exit::usage, "stdout cannot take both the sheet and JSON", "",
                      "give the sheet a file of its own");
    check_files({o.input}, as_list(o.output), o.force);
    const Frame mosaic = read_mosaic(o);
    const Diagonals diagonals = compare_diagonals(mosaic);
    if (!o.output.empty()) write_sheet(mosaic, diagonals, o);
    if (o.json)
        return print_json({{"file", o.input},
                           {"fitting", fitting_names(diagonals)},
                           {"difference_up", diagonals.up},
                           {"difference_down", diagonals.down}});
    (o.output == "-" ? std::cerr : std::cout) << verdict(diagonals) << '\n';
}

}  // namespace

void add_phase(CLI::App* app) {
    CLI::App* command =
        app->add_subcommand("phase", "Show a mosaic in its four phases and tell which fit");
    const auto o = std::make_shared<Options>();
    add_reading(command, &o->reading);
    command->add_option("input", o->input, "The dump; - is stdin")
        ->type_name("FILE")
        ->required()
        ->group(reading_group);
    command->add_option("-o,--output", o->output, "Sheet of the four, FILE.png; - is stdout [none]")
        ->type_name("FILE");
    add_json_flag(command, &o->json);
    command->add_flag("--force", o->force, "Replace an existing file");
    command->footer(footer);
    command->callback([o] { run_phase(*o); });
}

}  // namespace trv::tool
