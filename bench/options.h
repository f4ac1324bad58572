// What the benchmarks understand on their command line.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "bench/memory.h"
#include "image/dispatch/level.h"
#include "tool/timing/comparison.h"

namespace bench {

struct Options {
    Size size{1920, 1080};
    trv::timing::Rules rules;
    unsigned level = trv::best_level();
    const trv::Machine* machine = &trv::this_machine();
    std::string only;

    trv::Level table() const { return trv::on_machine(trv::levels[level], *machine); }
};

// --size, --cold, --rounds and --only.
void add_common(CLI::App* app, Options* options);

// --level and --machine.
void add_level(CLI::App* app, Options* options);

// Reads the command line. Ends the program after --help, by 0, and where the line is wrong, by 2.
void parse(CLI::App* app, int argc, char** argv);

// Prints level, machine, frame size and whether caches are warm.
void say_conditions(const Options& options);

// The common options and the level, for a program that prints times against a memory copy's.
Options parse_against_copy(const char* about, int argc, char** argv);

}  // namespace bench
