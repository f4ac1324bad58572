#include <filesystem>
#include <iomanip>
#include <iostream>
#include <memory>

#include "tool/cli/build_info.h"
#include "tool/cli/catalogue.h"
#include "tool/cli/error.h"
#include "tool/cli/json.h"
#include "tool/cli/reading.h"
#include "tool/cli/text.h"
#include "tool/commands/command.h"
#include "tool/files/input.h"
#include "tool/files/picture_read.h"
#include "tool/files/picture_write.h"
#include "tool/files/same_file.h"
#include "tool/picture/statistics.h"

namespace trv::tool {
namespace {

constexpr const char* footer =
    R"(A PNG, TIFF, PGM or PPM tells by itself what it holds; a raw dump is read by -s and -f. BITS are those that
any sample has set, counted from 0: 2-9 in words of 16 bits are 8 bits shifted up by two. ZERO and
FULL count samples at the ends of the range, ABOVE those beyond the depth that the format names.
A mosaic has its sites apart when its phase is known.

Histograms have logarithmic heights, so that a few samples show beside many.)";

struct Options {
    Reading reading;
    std::string phase, input, histogram;
    bool build = false, json = false, force = false;
};

std::string or_none(const std::vector<std::string>& words) {
    return words.empty() ? "none" : list(words);
}

void print_build(bool json) {
    const BuildInfo info = build_info();
    if (json)
        return print_json({{"version", info.version},
                           {"compiler", info.compiler},
                           {"build_type", info.build_type},
                           {"level", info.level},
                           {"levels", info.levels},
                           {"library", info.library},
                           {"companion", info.companion}});
    std::cout << "version    " << info.version << "\ncompiler   " << info.compiler << ", "
              << info.build_type << "\nlevel      " << info.level << " (this machine runs "
              << or_none(info.levels) << ")\nlibrary    " << printable(info.library)
              << "\ncompanion  " << printable(info.companion) << '\n';
}

std::optional<Phase> phase_of(const Options& o, const Format& format) {
    if (format.family != Family::bayer) {
        if (o.phase.empty()) return std::nullopt;
        throw Failure(Exit::usage, text("--phase makes no sense with ", format.name),
                      "it is not a mosaic", "leave --phase out, or check -f");
    }
    if (!o.phase.empty()) return phase_named(o.phase);
    return format.phase == Phase::none ? std::nullopt : std::optional(format.phase);
}

struct Subject {
    Frame frame;
    Geometry stored;  // as it is in the file
    bool raw;
};

Subject read_subject(const Options& o) {
    const bool described = !o.reading.size.empty() && !o.reading.format.empty();
    if (described) {
        const Geometry stored = o.reading.geometry(!o.phase.empty());
        return {read_frame(o.input, stored, o.reading.skip), stored, true};
    }
    if (!o.reading.size.empty() || !o.reading.format.empty())
        throw Failure(Exit::usage, "-s and -f belong together", "",
                      "give both for a dump, or none for a picture");
    if (auto picture = read_picture(o.input)) {
        const Geometry stored = picture->geometry();
        return {std::move(*picture), stored, false};
    }
    throw Failure(Exit::usage, text("cannot tell what ", o.input, " holds"),
                  "it is no PNG, TIFF, PGM or PPM, and a dump tells nothing about itself",
                  text("give -s and -f, or try `trvil guess ", shell_word(o.input), "`"));
}

std::optional<uint64_t> length_of(const std::string& path) {
    std::error_code error;
    const uint64_t length = std::filesystem::file_size(path, error);
    return path == "-" || error ? std::nullopt : std::optional(length);
}

std::string size_check(const Options& o, const Subject& subject) {
    const Geometry& g = subject.stored;
    const std::string shape = text(g.width, "x", g.height, " ", g.name());
    if (!subject.raw) return shape;
    const std::string needed = text(shape, " in lines of ", g.stride, " bytes: ", g.bytes());
    const auto length = length_of(o.input);
    if (!length) return text(needed, " bytes");
    if (*length == g.bytes()) return text(needed, " bytes, which is all of it");
    return text(needed, " of its ", *length, " bytes");
}

template <typename... Cells>
void put_row(const std::string& name, const Cells&... cells) {
    std::cout << std::left << std::setw(8) << name << std::right;
    const int widths[] = {7, 7, 9, 9, 7, 10, 10, 10};
    size_t i = 0;
    ((std::cout << std::setw(widths[i++]) << cells), ...);
    std::cout << '\n';
}

std::string decimal(double value) {
    return text(std::fixed, std::setprecision(1), value);
}

void print_planes(const Options& o, const Subject& subject, const std::vector<Plane>& planes) {
    std::cout << (o.input == "-" ? "stdin" : printable(o.input)) << ": " << size_check(o, subject)
              << "\n\n";
    put_row("PLANE", "LEAST", "MOST", "MEAN", "SPREAD", "BITS", "ZERO", "FULL", "ABOVE");
    for (const Plane& p : planes)
        put_row(p.name, p.least, p.most, decimal(p.mean), decimal(p.deviation), bits_in_use(p),
                p.zero, p.saturated, p.above);
}

Json as_json(const Plane& p) {
    return {{"name", p.name},           {"depth", p.depth},      {"samples", p.count},
            {"minimum", p.least},       {"maximum", p.most},     {"mean", p.mean},
            {"deviation", p.deviation}, {"bits_set", p.ever},    {"zero", p.zero},
            {"saturated", p.saturated}, {"above_depth", p.above}};
}

void print_as_json(const Options& o, const Subject& subject, const std::vector<Plane>& planes) {
    const Geometry& g = subject.stored;
    Json list = Json::array();
    for (const Plane& plane : planes) list.push_back(as_json(plane));
    const auto length = length_of(o.input);
    print_json({{"file", o.input},
                {"bytes", length ? Json(*length) : Json()},
                {"width", g.width},
                {"height", g.height},
                {"format", g.format->name},
                {"packing", g.packing == 0 ? Json() : Json(packing_name(g.packing))},
                {"stride", g.stride},
                {"picture_bytes", g.bytes()},
                {"planes", list}});
}

void write_histogram(const std::vector<Plane>& planes, const Options& o) {
    Output file(o.histogram, o.force);
    Progress progress(1);
    progress.start(o.histogram);
    write_picture(histogram_picture(planes), Kind::png, &file, &progress);
}

void check_histogram(const Options& o) {
    if (!o.histogram.empty() &&
        (o.histogram == "-" || kind_of_output(o.histogram, "") != Kind::png))
        throw Failure(Exit::usage, "a histogram is a PNG file", "",
                      "end the name of the histogram in .png");
    check_files({o.input}, as_list(o.histogram), o.force);
}

void run_info(const Options& o) {
    if (o.build) return print_build(o.json);
    if (o.input.empty())
        throw Failure(Exit::usage, "nothing to look at", "",
                      "name a dump or a picture, or say --build");
    check_histogram(o);
    const Subject subject = read_subject(o);
    const auto planes = measure(subject.frame, phase_of(o, *subject.frame.geometry().format));
    if (!o.histogram.empty()) write_histogram(planes, o);
    o.json ? print_as_json(o, subject, planes) : print_planes(o, subject, planes);
}

}  // namespace

void add_info(CLI::App* app) {
    CLI::App* command =
        app->add_subcommand("info", "Tell what a dump or a picture holds, or what this build is");
    const auto o = std::make_shared<Options>();
    command->add_flag("--build", o->build,
                      "Version, compiler, libraries, and the instruction sets in use");
    add_json_flag(command, &o->json);
    add_reading(command, &o->reading, "Pixels", false);
    command->add_option("--phase", o->phase, "Mosaic: A RGGB, B GRBG, C GBRG, D BGGR [unknown]")
        ->type_name("PHASE")
        ->group(reading_group);
    command->add_option("input", o->input, "The dump or picture; - is stdin")
        ->type_name("FILE")
        ->group(reading_group);
    command->add_option("--histogram", o->histogram, "Write histograms here, FILE.png")
        ->type_name("FILE");
    command->add_flag("--force", o->force, "Replace an existing file");
    command->footer(footer);
    command->callback([o] { run_info(*o); });
}

}  // namespace trv::tool
