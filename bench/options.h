// What the benchmarks understand on their command line.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench/ring.h"
#include "image/dispatch/level.h"

namespace bench {

struct Options {
    Size size{1920, 1080};
    bool cold = false;
    unsigned level = trv::best_level();
    const trv::Machine* machine = &trv::this_machine();
    int rounds = 31;
    std::string only;

    trv::Level table() const { return trv::on_machine(trv::levels[level], *machine); }
};

inline unsigned level_named(const std::string& name) {
    for (unsigned l = 0; l <= trv::best_level(); ++l)
        if (name == trv::levels[l].name) return l;
    std::fprintf(stderr, "this machine has no level %s\n", name.c_str());
    std::exit(2);
}

// A row of the table of machines, with the caches it was measured at.
inline const trv::Machine* machine_named(const std::string& name) {
    for (const trv::Machine& machine : trv::machines)
        if (name == machine.name) return &machine;
    std::fprintf(stderr, "there is no machine %s\n", name.c_str());
    std::exit(2);
}

inline Size size_named(const std::string& text) {
    return {static_cast<uint32_t>(std::atoi(text.c_str())),
            static_cast<uint32_t>(std::atoi(text.c_str() + text.find('x') + 1))};
}

// One option and its value, if it has one; how many words were taken, 0 for an unknown one.
inline int take_option(const std::string& word, const char* value, Options* options) {
    if (word == "--cold") {
        options->cold = true;
        options->size = {4096, 3072};
        options->rounds = 9;
        return 1;
    }
    if (value == nullptr) return 0;
    if (word == "--level")
        options->level = level_named(value);
    else if (word == "--machine")
        options->machine = machine_named(value);
    else if (word == "--size")
        options->size = size_named(value);
    else if (word == "--rounds")
        options->rounds = std::atoi(value);
    else if (word == "--only")
        options->only = value;
    else
        return 0;
    return 2;
}

inline Options parse(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc;) {
        const int taken = take_option(argv[i], i + 1 < argc ? argv[i + 1] : nullptr, &options);
        if (taken == 0) {
            std::fprintf(stderr,
                         "usage: %s [--cold] [--size WxH] [--level scalar|v2|v3|v4] "
                         "[--machine any|amd] [--rounds N] [--only TEXT]\n",
                         argv[0]);
            std::exit(2);
        }
        i += taken;
    }
    std::printf("# level %s on %s, %ux%u %s, time over a memory copy of the same bytes\n",
                trv::levels[options.level].name, options.machine->name, options.size.width,
                options.size.height, options.cold ? "cold" : "warm");
    return options;
}

}  // namespace bench
