// Ourselves against what a user would take instead: one process, in turns, on the same frames.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "bench/options.h"
#include "bench/peers/check.h"
#include "bench/peers/report.h"

namespace {

using namespace peers;

struct Options {
    Rules rules;
    std::string only, json;
    bool all_levels = false, all_machines = false, list = false;
};

const char usage[] =
    "usage: bench_peers [--size WxH] [--cold] [--rounds N] [--threads N] [--levels]\n"
    "                   [--machines] [--only TEXT] [--json FILE] [--list]\n"
    "  --size WxH    frame size, even sides (1920x1080)\n"
    "  --cold        rings of frames beyond the caches, 4096x3072, 9 rounds\n"
    "  --rounds N    rounds of the contest (31)\n"
    "  --threads N   N threads convert frames of their own; speeds are of all together\n"
    "  --levels      all our levels take part, not only the best\n"
    "  --machines    the policies of all machines take part, not only this one's\n"
    "  --only TEXT   tasks whose name or family contains TEXT\n"
    "  --json FILE   all times, with machine and versions\n"
    "  --list        names the tasks and who takes part, and measures nothing\n";

[[noreturn]] void give_up(const std::string& what) {
    std::fprintf(stderr, "bench_peers: %s; --help lists the options\n", what.c_str());
    std::exit(2);
}

int number(const std::string& option, const char* value, int most) {
    char* end = nullptr;
    const long result = std::strtol(value, &end, 10);
    if (*end != 0 || result < 1 || result > most)
        give_up(option + " takes a number from 1 to " + std::to_string(most) + ", not " + value);
    return static_cast<int>(result);
}

Size size_of(const char* value) {
    unsigned width = 0, height = 0;
    char rest = 0;
    if (std::sscanf(value, "%ux%u%c", &width, &height, &rest) != 2 || width < 8 || height < 4 ||
        width % 2 != 0 || height % 2 != 0 || width > 16384 || height > 16384)
        give_up(std::string(
                    "--size takes even sides such as 1920x1080, from 8x4 to 16384x16384, not ") +
                value);
    return {width, height};
}

void take_flag(const std::string& word, Options* options) {
    if (word == "--help") {
        std::fputs(usage, stdout);
        std::exit(0);
    } else if (word == "--levels") {
        options->all_levels = true;
    } else if (word == "--machines") {
        options->all_machines = true;
    } else if (word == "--list") {
        options->list = true;
    } else if (word == "--cold") {
        options->rules.cold = true;
        options->rules.size = {4096, 3072};
        options->rules.rounds = 9;
    } else {
        give_up("unknown option " + word + ", or its value is missing");
    }
}

bool take_value(const std::string& word, const char* value, Options* options) {
    if (value == nullptr) return false;
    if (word == "--size")
        options->rules.size = size_of(value);
    else if (word == "--rounds")
        options->rules.rounds = number(word, value, 10000);
    else if (word == "--threads")
        options->rules.threads = static_cast<unsigned>(number(word, value, 64));
    else if (word == "--only")
        options->only = value;
    else if (word == "--json")
        options->json = value;
    else
        return false;
    return true;
}

Options parse(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        if (take_value(argv[i], i + 1 < argc ? argv[i + 1] : nullptr, &options))
            ++i;
        else
            take_flag(argv[i], &options);
    }
    return options;
}

// Ourselves first, then our other levels, then the peers. Who does not do what it says is left out
// and counted in `faults`.
Contestants field_of(const Task& task, const Options& options, int* faults) {
    const unsigned best = trv::best_level();
    const auto on_this = [](unsigned level) {
        return trv::on_machine(trv::levels[level], trv::this_machine());
    };
    Contestants all{ours(task, on_this(best), "trvil")}, list;
    for (unsigned level = options.all_levels ? 0 : best; level < best; ++level)
        all.push_back(ours(task, on_this(level), std::string("trvil ") + trv::levels[level].name));
    if (options.all_machines)
        for (const trv::Machine& machine : trv::machines)
            all.push_back(ours(task, trv::on_machine(trv::levels[best], machine),
                               std::string("trvil on ") + machine.name));
    for (Contestant& peer : peers_of(task)) all.push_back(std::move(peer));
    for (const Contestant& contestant : all) {
        const std::string found = check(task, all.front(), contestant);
        if (found.empty()) {
            list.push_back(contestant);
            continue;
        }
        std::fprintf(stderr, "bench_peers: %s by %s %s; it is not timed\n", task.name().c_str(),
                     contestant.name.c_str(), found.c_str());
        ++*faults;
    }
    return list;
}

Result measure(const Task& task, const Options& options, int* faults) {
    const Contestants contestants = field_of(task, options, faults);
    const std::vector<double> times = race(task, contestants, options.rules);
    const Size size = options.rules.size;
    const double threads = options.rules.threads;
    Result result{&task,
                  threads * size.width * size.height,
                  threads * static_cast<double>(from_bytes(task, size) + to_bytes(task, size)),
                  times.back(),
                  {}};
    for (size_t i = 0; i < contestants.size(); ++i)
        result.entries.push_back({contestants[i].name, contestants[i].near.why, times[i]});
    return result;
}

void list_contestants(const Task& task, const Options& options, int* faults) {
    std::printf("%-26s %-24s", task.name().c_str(), task.family);
    for (const Contestant& contestant : field_of(task, options, faults))
        std::printf(" %s%s", contestant.name.c_str(), contestant.near.why != nullptr ? "~" : "");
    std::printf("\n");
}

std::vector<const Task*> chosen(const std::string& only) {
    std::vector<const Task*> tasks;
    for (const Task& task : all_tasks())
        if ((task.name() + "\n" + task.family).find(only) != std::string::npos)
            tasks.push_back(&task);
    if (tasks.empty())
        give_up("no name or family of a task contains \"" + only + "\"; --list names them all");
    return tasks;
}

void show_progress(size_t done, size_t all, const std::string& name) {
    const bool wanted = isatty(STDERR_FILENO) != 0 && isatty(STDOUT_FILENO) == 0;
    if (wanted) std::fprintf(stderr, "\r\033[K[%zu/%zu] %s", done, all, name.c_str());
}

std::vector<Result> measure_all(const std::vector<const Task*>& tasks, const Options& options,
                                int* faults) {
    std::vector<Result> results;
    print_heading(options.rules);
    for (size_t i = 0; i < tasks.size(); ++i) {
        show_progress(i + 1, tasks.size(), tasks[i]->name());
        results.push_back(measure(*tasks[i], options, faults));
        print(results.back());
    }
    return results;
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = parse(argc, argv);
    const std::vector<const Task*> tasks = chosen(options.only);
    int faults = 0;
    if (options.list) {
        for (const Task* task : tasks) list_contestants(*task, options, &faults);
        return faults == 0 ? 0 : 1;
    }
    const std::vector<Result> results = measure_all(tasks, options, &faults);
    if (!options.json.empty() && !write_json(options.json, options.rules, results)) {
        std::fprintf(stderr, "bench_peers: cannot write %s; the figures above are not saved\n",
                     options.json.c_str());
        return 1;
    }
    return faults == 0 ? 0 : 1;
}
