#include <cmath>
#include <iomanip>
#include <iostream>
#include <memory>

#include "tool/cli/error.h"
#include "tool/cli/reading.h"
#include "tool/cli/report.h"
#include "tool/cli/text.h"
#include "tool/commands/command.h"
#include "tool/commands/threads.h"
#include "tool/develop/colour_chart.h"
#include "tool/develop/developer.h"
#include "tool/develop/options.h"
#include "tool/develop/stack.h"
#include "tool/files/input.h"
#include "tool/files/output.h"
#include "tool/files/picture_write.h"
#include "tool/files/same_file.h"

namespace trv::tool {
namespace {

constexpr const char* footer =
    R"(Dark frames are taken with the lens covered, at the exposure and gain of the pictures to be
developed; flat frames of an evenly lit, white, slightly blurred area, half as bright as the sensor can
tell. 16 of each are a good number, 2 the least. A pixel is defective when its mean differs from the
median of the eight nearest of its colour by more than --hot in the dark, or by more than --odd in the
flat field.

The chart is the classic one of 24 patches, in four lines of six from dark skin to black, seen from
any side. Its white may not be overexposed.

The folder receives dark.tif, flat.tif and defects.txt, as far as there are frames for them, and
settings.json, which names them:

  trvil convert ... --settings FOLDER/settings.json dump.raw -o picture.png)";

struct Options {
    Reading reading;
    DevelopOptions developing;
    std::string phase, chart, corners, output;
    std::vector<std::string> dark, flat;
    double hot = 2, odd = 20;  // per cent
    uint32_t threads = 0;
    bool force = false;
};

// The files of the folder, of which none appears before all are whole.
class Result {
  public:
    Result(std::string folder, bool force) : folder_(std::move(folder)), force_(force) {}

    std::string place(const std::string& name) const {
        return folder_.empty() || folder_.back() == '/' ? folder_ + name : folder_ + "/" + name;
    }
    // A file and where it can be read as long as it has not appeared.
    std::string add(const std::string& name, const Frame& picture) {
        Output& output = next(name);
        fill_picture(picture, Kind::tif, output, nullptr);
        return output.path();
    }
    std::string add(const std::string& name, const std::string& words) {
        Output& output = next(name);
        write_text(words, output);
        return output.path();
    }
    void publish() {
        for (const auto& output : outputs_) output->publish();
    }

  private:
    Output& next(const std::string& name) {
        outputs_.push_back(std::make_unique<Output>(place(name), force_));
        return *outputs_.back();
    }

    std::string folder_;
    bool force_;
    std::vector<std::unique_ptr<Output>> outputs_;
};

std::vector<std::string> names_of_files(const Options& o) {
    std::vector<std::string> names;
    if (!o.dark.empty()) names.emplace_back("dark.tif");
    if (!o.flat.empty()) names.emplace_back("flat.tif");
    if (!o.dark.empty() || !o.flat.empty()) names.emplace_back("defects.txt");
    names.emplace_back("settings.json");
    return names;
}

void check_options(const Options& o) {
    if (o.dark.empty() && o.flat.empty() && o.chart.empty())
        throw Failure(Exit::usage, "nothing to calibrate with", "",
                      "give --dark-frames, --flat-frames, or --chart with --corners");
    if (o.chart.empty() != o.corners.empty())
        throw Failure(Exit::usage, "--chart and --corners belong together", "",
                      "give the dump of the chart, and where its four corners are");
}

Phase phase_of(const Options& o, const Geometry& source) {
    const Format& format = *source.format;
    if (!is_developed(format))
        throw Failure(Exit::usage, text("cannot calibrate ", source.name()),
                      "it is neither a mosaic nor grey", "check -f");
    if (!o.phase.empty() && format.family == Family::bayer) return phase_named(o.phase);
    if (!o.phase.empty() || (!o.chart.empty() && format.family == Family::grey))
        throw Failure(
            Exit::usage,
            text(o.phase.empty() ? "--chart" : "--phase", " makes no sense with ", source.name()),
            "it is not a mosaic", "check -f");
    return format.phase == Phase::none ? Phase::A : format.phase;
}

void check_exposure(const Frame& flat, const Geometry& source, const Development& settings) {
    constexpr double few = 0.001;
    const uint32_t full =
        settings.white != 0 ? settings.white : (1u << source.format->significant) - 1;
    if (part_from(flat, full) <= few) return;
    throw Failure(Exit::conversion, "the flat frames are overexposed",
                  text("more than ", few * 100, " % of their samples are ", full, " or above"),
                  "take them half as bright, and name the level of saturation by --white");
}

std::string defect_list(const Defects& defects, const Options& o) {
    std::ostringstream out;
    out << "# x y, found by trvil calibrate --hot " << o.hot << " --odd " << o.odd << "\n";
    for (const TRW_Defect& defect : defects.all) out << defect.x << ' ' << defect.y << '\n';
    return out.str();
}

std::string decimal(double number, int places) {
    std::ostringstream out;
    out << std::fixed << std::setprecision(places) << number;
    return out.str();
}

// Texts for the file of settings, and the same with files where they are before they appear.
struct Findings {
    SettingTexts lasting, present;
    std::ostringstream report;

    void say(const char* what, const std::string& words) {
        report << std::left << std::setw(10) << what << words << '\n';
    }
};

void note_many(const Defects& defects, const Geometry& source) {
    constexpr uint64_t usual = 100;
    const uint64_t pixels = uint64_t{source.width} * source.height;
    if (defects.all.size() * usual > pixels)
        note(
            text(defects.all.size(), " of ", pixels,
                 " pixels count as defective; are the frames dark, or evenly lit and out of focus? "
                 "--hot and --odd allow for more"));
}

void take_stacks(const Options& o, const Geometry& source, Result* result, Findings* findings) {
    const Development settings = understand(findings->present);
    std::optional<Frame> dark, flat;
    if (!o.dark.empty()) {
        dark.emplace(mean_of(o.dark, source, o.reading.skip, "dark frames"));
        findings->lasting.dark = result->place("dark.tif");
        findings->present.dark = result->add("dark.tif", *dark);
        findings->say("dark", text(o.dark.size(), " frames, mean ", decimal(mean_level(*dark), 2)));
    } else if (!settings.dark.empty()) {
        dark.emplace(read_words(settings.dark, source, o.reading.skip));
    }
    if (!o.flat.empty()) {
        flat.emplace(mean_of(o.flat, source, o.reading.skip, "flat frames"));
        check_exposure(*flat, source, settings);
        findings->lasting.flat = result->place("flat.tif");
        findings->present.flat = result->add("flat.tif", *flat);
        findings->say("flat", text(o.flat.size(), " frames, mean ", decimal(mean_level(*flat), 2)));
    }
    const uint32_t level = settings.black.empty() ? 0 : settings.black.front();
    const Defects defects = find_defects(dark ? &*dark : nullptr, flat ? &*flat : nullptr, level,
                                         source, {o.hot / 100, o.odd / 100});
    note_many(defects, source);
    findings->lasting.defects = result->place("defects.txt");
    findings->present.defects = result->add("defects.txt", defect_list(defects, o));
    findings->say("defects", text(defects.all.size(), " pixels: ", defects.in_the_dark,
                                  " in the dark, ", defects.in_light, " in the flat field"));
}

void take_chart(const Options& o, const Geometry& source, Phase phase,
                const std::array<Point, 4>& corners, Findings* findings) {
    SettingTexts plain = findings->present;
    plain.matrix = plain.curve = plain.balance = "";
    const Developer developer(understand(plain), {}, source, o.reading.skip,
                              {default_method, phase});
    const Helpers helpers(o.threads);
    const Frame linear = developer.develop(read_bytes(o.chart, source, o.reading.skip),
                                           format_of(Code::RGB48), helpers.pool());
    const ChartFit fit = fit_chart(linear, corners);
    std::vector<double> gains;
    for (const double gain : fit.gains) gains.push_back(std::round(gain * 10000) / 10000);
    findings->lasting.balance = numbers_text(gains);
    findings->lasting.matrix = numbers_text({fit.matrix.begin(), fit.matrix.end()});
    findings->say("gains", findings->lasting.balance);
    for (size_t row = 0; row < 3; ++row)
        findings->say(row == 0 ? "matrix" : "", text(decimal(fit.matrix[3 * row], 4), ' ',
                                                     decimal(fit.matrix[3 * row + 1], 4), ' ',
                                                     decimal(fit.matrix[3 * row + 2], 4)));
    findings->say("residual", text(decimal(fit.rms * 100, 2), " % of white over ", fit.patches,
                                   " patches; colour difference ", decimal(fit.difference, 1),
                                   " on average, ", decimal(fit.largest, 1), " at ", fit.worst));
}

void calibrate(const Options& o) {
    check_options(o);
    const Geometry source = o.reading.geometry(!o.phase.empty());
    const Phase phase = phase_of(o, source);
    const SettingTexts said = o.developing.all();
    Findings findings{said, said, {}};
    Result result(o.output, o.force);
    std::vector<std::string> read = o.developing.inputs(said), written;
    for (const auto* files : {&o.dark, &o.flat})
        for (const std::string& file : *files) read.push_back(file);
    for (const std::string& file : as_list(o.chart)) read.push_back(file);
    for (const std::string& name : names_of_files(o)) written.push_back(result.place(name));
    check_files(read, written, o.force);
    std::array<Point, 4> corners{};
    if (!o.chart.empty()) corners = corners_named(o.corners, source.width, source.height);
    if (!o.dark.empty() || !o.flat.empty()) take_stacks(o, source, &result, &findings);
    if (!o.chart.empty()) take_chart(o, source, phase, corners, &findings);
    // What would be refused when a dump is developed by it is refused here.
    const Developer check(understand(findings.present), {}, source, o.reading.skip,
                          {default_method, phase});
    const std::string place = result.place("settings.json");
    result.add("settings.json", settings_file(findings.lasting, place));
    result.publish();
    std::cout << findings.report.str();
}

void add_frames(CLI::App* command, Options* o) {
    const char* group = "What to calibrate with";
    const auto add = [&](const char* name, auto* value, const char* what, const char* type) {
        return command->add_option(name, *value, what)->type_name(type)->group(group);
    };
    add("--dark-frames", &o->dark, "Dumps taken in the dark", "FILE");
    add("--flat-frames", &o->flat, "Dumps of an evenly lit area", "FILE");
    add("--chart", &o->chart, "Dump of a colour chart of 24 patches", "FILE");
    add("--corners", &o->corners,
        "x,y of its corners at dark skin, bluish green, black, white: x,y,x,y,x,y,x,y", "POINTS");
    add("--hot", &o->hot, "Per cent of the range that a dark sample may differ by [2]", "PERCENT")
        ->check(CLI::Range(0.001, 100.0));
    add("--odd", &o->odd, "Per cent that a sample of the flat field may differ by [20]", "PERCENT")
        ->check(CLI::Range(0.001, 100.0));
}

}  // namespace

void add_calibrate(CLI::App* app) {
    CLI::App* command =
        app->add_subcommand("calibrate", "Measure a sensor: dark, flat, defects and colours");
    const auto o = std::make_shared<Options>();
    add_reading(command, &o->reading);
    command->add_option("--phase", o->phase, "A RGGB, B GRBG, C GBRG, D BGGR [format's, else A]")
        ->type_name("PHASE")
        ->group(reading_group);
    add_frames(command, o.get());
    add_sensor_options(command, &o->developing);
    command->add_option("-o,--output", o->output, "Folder for what is found")
        ->type_name("FILE")
        ->required();
    command->add_flag("--force", o->force, "Replace existing files");
    add_threads(command, &o->threads, "");
    command->footer(footer);
    command->callback([o] { calibrate(*o); });
}

}  // namespace trv::tool
