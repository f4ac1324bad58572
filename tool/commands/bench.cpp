#include <iomanip>
#include <iostream>
#include <memory>

#include "tool/cli/build_info.h"
#include "tool/cli/catalogue.h"
#include "tool/cli/error.h"
#include "tool/cli/geometry.h"
#include "tool/cli/json.h"
#include "tool/cli/text.h"
#include "tool/commands/command.h"
#include "tool/commands/path.h"
#include "tool/commands/timing.h"

namespace trv::tool {
namespace {

constexpr const char* footer =
    R"(A packing, such as 12p, is grey unless --phase says that it is a mosaic.
Conversion and memory copy take turns, round by round, and medians are compared: what the machine
does to one it does to the other. The copy moves as many bytes as the conversion reads and writes.
One thread is timed by the processor's time of its own, several by the clock.
Each thread has pictures of its own. Without --cold they are the same ones in every round, as in a
program that looks at a picture at once; with it they are out of the caches, as after a transfer.)";

struct Options {
    std::string size, from, to, phase, method, settings;
    uint32_t threads = 1, rounds = 31;
    bool cold = false, json = false;
};

uint32_t method_of(const std::string& said, const Options& o, const Format& from) {
    if (from.family != Family::bayer && !(said.empty() && o.phase.empty()))
        throw Failure(Exit::usage, text("-m and --phase make no sense with ", from.name),
                      "it is not a mosaic", "leave them out, or check -f");
    return said.empty() ? default_method : method_named(said);
}

Path path_of(const Geometry& source, const Format& to, const Demosaic& how) {
    const Path path = plan(*source.format, &to, Kind::raw, how, Via::automatic);
    if (path.size() < 2 && source.packing == 0)
        throw Failure(Exit::usage, "nothing to measure", "source and result are the same",
                      "choose another format with -t");
    return path;
}

Task make_task(const Options& o) {
    const Pixels pixels = pixels_named(o.from);
    const Geometry source = source_geometry(o.phase.empty() ? pixels : as_mosaic(pixels),
                                            size_named(o.size), std::nullopt);
    const Format &from = *source.format, &to = format_named(o.to);
    SettingTexts said;
    if (!o.settings.empty()) said = read_settings(o.settings);
    if (!o.method.empty()) said.method = o.method;
    Demosaic how{method_of(said.method, o, from),
                 from.phase == Phase::none ? Phase::A : from.phase};
    if (!o.phase.empty()) how.phase = phase_named(o.phase);
    if (from.family == Family::bayer && (source.width < 2 || source.height < 2))
        throw Failure(Exit::usage, "a mosaic has at least 2x2 pixels", "", "check -s");
    const timing::Rules rules{o.rounds, o.threads, o.cold};
    if (o.settings.empty()) return {source, path_of(source, to, how), how, rules, nullptr};
    if (!is_developed(from))
        throw Failure(Exit::usage, text("cannot develop ", source.name()),
                      "it is neither a mosaic nor grey", "leave --settings out");
    const Tuning tuning = tuning_named(said.balance.empty() ? "off" : said.balance, "none");
    return {source,
            {&from, &to},
            how,
            rules,
            std::make_shared<Developer>(understand(said), tuning, source, 0, how)};
}

// The source by its own name, then what its picture goes through.
std::vector<std::string> path_names(const Task& task) {
    std::vector<std::string> names;
    if (task.source.packing != 0) names.push_back(packing_name(task.source.packing));
    for (const Format* format : task.path) names.emplace_back(format->name);
    return names;
}

std::string title(const Task& task) {
    const Format& from = *task.path.front();
    std::string words =
        text(task.source.width, "x", task.source.height, " ", list(path_names(task), " > "));
    if (from.family == Family::bayer)
        words += text(", ", method_name(task.how.method), " ", phase_name(task.how.phase));
    if (task.developer != nullptr) words += ", developed";
    return text(words, "; level ", build_info().level, ", ", task.rules.threads,
                task.rules.threads == 1 ? " thread, " : " threads, ", task.rules.rounds,
                " rounds, ", task.rules.cold ? "cold" : "warm");
}

void print(const Task& task, const Timing& t) {
    std::cout << title(task) << '\n'
              << std::fixed << std::setprecision(0) << t.megapixels() << " Mpx/s, "
              << std::setprecision(2) << t.gigabytes() << " GB/s read and written, "
              << t.seconds * 1e3 << " ms for "
              << (task.rules.threads == 1 ? "a picture" : "a picture each") << '\n'
              << t.ratio() << " times a memory copy of the same bytes (" << t.copy_seconds * 1e3
              << " ms)\n";
}

void print_as_json(const Task& task, const Timing& t) {
    const bool mosaic = task.path.front()->family == Family::bayer;
    print_json({{"width", task.source.width},
                {"height", task.source.height},
                {"path", path_names(task)},
                {"method", mosaic ? Json(method_name(task.how.method)) : Json()},
                {"phase", mosaic ? Json(phase_name(task.how.phase)) : Json()},
                {"developed", task.developer != nullptr},
                {"level", build_info().level},
                {"threads", task.rules.threads},
                {"rounds", task.rules.rounds},
                {"cold", task.rules.cold},
                {"seconds", t.seconds},
                {"copy_seconds", t.copy_seconds},
                {"ratio_to_copy", t.ratio()},
                {"megapixels_per_second", t.megapixels()},
                {"gigabytes_per_second", t.gigabytes()}});
}

void run_bench(const Options& o) {
    const Task task = make_task(o);
    const Timing timing = measure(task);
    o.json ? print_as_json(task, timing) : print(task, timing);
}

}  // namespace

void add_bench(CLI::App* app) {
    CLI::App* command = app->add_subcommand("bench", "Measure a conversion on this machine");
    const auto o = std::make_shared<Options>();
    command->add_option("-s,--size", o->size, "Pixels, as WIDTHxHEIGHT")
        ->required()
        ->type_name("SIZE");
    command->add_option("-f,--format", o->from, "Format or packing of the source")
        ->required()
        ->type_name("FORMAT");
    command->add_option("-t,--to", o->to, "Format of the result")->required()->type_name("FORMAT");
    command
        ->add_option("--phase", o->phase,
                     "Mosaic: A RGGB, B GRBG, C GBRG, D BGGR [format's, else A]")
        ->type_name("PHASE");
    command
        ->add_option("-m,--method", o->method, "Missing colours: dup, ave, med or gradient [ave]")
        ->type_name("METHOD");
    command
        ->add_option("--settings", o->settings, "Develop by what `convert --save-settings` wrote")
        ->type_name("FILE");
    command->add_option("--threads", o->threads, "So many pictures at a time [1]")
        ->check(CLI::Range(1, 256))
        ->type_name("N");
    command->add_option("--rounds", o->rounds, "So many turns each [31]")
        ->check(CLI::Range(1, 10000))
        ->type_name("N");
    command->add_flag("--cold", o->cold, "With pictures that are not in the caches");
    add_json_flag(command, &o->json);
    command->footer(footer);
    command->callback([o] { run_bench(*o); });
}

}  // namespace trv::tool
