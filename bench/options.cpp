#include "bench/options.h"

#include <cstdio>
#include <cstdlib>

namespace bench {
namespace {

const Size cold_size{4096, 3072};
constexpr unsigned cold_rounds = 9;

Size size_named(const std::string& text) {
    Size size{};
    char rest = 0;
    if (std::sscanf(text.c_str(), "%ux%u%c", &size.width, &size.height, &rest) != 2 ||
        size.width < 8 || size.height < 4 || size.width % 2 != 0 || size.height % 2 != 0 ||
        size.width > 16384 || size.height > 16384)
        throw CLI::ValidationError("--size",
                                   "takes even sides such as 1920x1080, from 8x4 to 16384x16384, "
                                   "not " +
                                       text);
    return size;
}

unsigned level_named(const std::string& name) {
    for (unsigned l = 0; l <= trv::best_level(); ++l)
        if (name == trv::levels[l].name) return l;
    throw CLI::ValidationError("--level", "this machine has no level " + name);
}

// A row of the table of machines, with the caches it was measured at.
const trv::Machine* machine_named(const std::string& name) {
    for (const trv::Machine& machine : trv::machines)
        if (name == machine.name) return &machine;
    throw CLI::ValidationError("--machine", "there is no machine " + name);
}

}  // namespace

void add_common(CLI::App* app, Options* options) {
    const auto* size = app->add_option_function<std::string>(
        "--size", [options](const std::string& text) { options->size = size_named(text); },
        "Frame size, even sides [1920x1080]");
    const auto* rounds = app->add_option("--rounds", options->rules.rounds, "So many rounds [31]")
                             ->check(CLI::Range(1, 10000));
    app->add_flag("--cold", options->rules.cold,
                  "Rings of frames beyond the caches; [4096x3072, 9 rounds]");
    app->add_option("--only", options->only, "Tasks whose name contains TEXT")->type_name("TEXT");
    app->parse_complete_callback([=] {
        if (!options->rules.cold) return;
        if (size->count() == 0) options->size = cold_size;
        if (rounds->count() == 0) options->rules.rounds = cold_rounds;
    });
}

void add_level(CLI::App* app, Options* options) {
    app->add_option_function<std::string>(
           "--level", [options](const std::string& text) { options->level = level_named(text); },
           "scalar, v2, v3 or v4 [the best of the machine]")
        ->type_name("LEVEL");
    app->add_option_function<std::string>(
           "--machine",
           [options](const std::string& text) { options->machine = machine_named(text); },
           "any or amd: whose memory policy [this machine's]")
        ->type_name("MACHINE");
}

void parse(CLI::App* app, int argc, char** argv) {
    try {
        app->parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        std::exit(app->exit(error) == 0 ? 0 : 2);
    }
}

Options parse_against_copy(const char* about, int argc, char** argv) {
    Options options;
    CLI::App app(about);
    add_common(&app, &options);
    add_level(&app, &options);
    parse(&app, argc, argv);
    say_conditions(options);
    return options;
}

void say_conditions(const Options& options) {
    std::printf("# level %s on %s, %ux%u %s, time over a memory copy of the same bytes\n",
                trv::levels[options.level].name, options.machine->name, options.size.width,
                options.size.height, options.rules.cold ? "cold" : "warm");
}

}  // namespace bench
