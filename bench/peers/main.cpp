// Ourselves against what a user would take instead: one process, in turns, on the same frames.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "bench/peers/check.h"
#include "bench/peers/frames.h"
#include "bench/peers/measure.h"
#include "bench/peers/report.h"
#include "image/dispatch/level.h"

namespace {

using namespace peers;

struct Options : bench::Options {
    std::string json;
    bool all_levels = false, all_machines = false, list = false;
};

Options parse(int argc, char** argv) {
    Options options;
    CLI::App app("Ourselves against what a user would take instead");
    bench::add_common(&app, &options);
    app.add_option("--threads", options.rules.threads,
                   "N threads convert frames of their own; speeds are of all together [1]")
        ->check(CLI::Range(1, 64));
    app.add_flag("--levels", options.all_levels, "All our levels take part, not only the best");
    app.add_flag("--machines", options.all_machines,
                 "The policies of all machines take part, not only this one's");
    app.add_option("--json", options.json, "All times, with machine and versions")
        ->type_name("FILE");
    app.add_flag("--list", options.list,
                 "Names the tasks and who takes part, and measures nothing");
    bench::parse(&app, argc, argv);
    return options;
}

// Ourselves first, then our other levels, then the peers. Who does not do what it says is left out
// and counted in `faults`.
Candidates field_of(const Task& task, const Options& options, int* faults) {
    const unsigned best = trv::best_level();
    const auto on_this = [](unsigned level) {
        return trv::on_machine(trv::levels[level], trv::this_machine());
    };
    Candidates all{ours(task, on_this(best), "trvil")}, list;
    for (unsigned level = options.all_levels ? 0 : best; level < best; ++level)
        all.push_back(ours(task, on_this(level), std::string("trvil ") + trv::levels[level].name));
    if (options.all_machines)
        for (const trv::Machine& machine : trv::machines)
            all.push_back(ours(task, trv::on_machine(trv::levels[best], machine),
                               std::string("trvil on ") + machine.name));
    for (Candidate& peer : peers_of(task)) all.push_back(std::move(peer));
    for (const Candidate& candidate : all) {
        const std::string found = check(task, all.front(), candidate);
        if (found.empty()) {
            list.push_back(candidate);
            continue;
        }
        std::fprintf(stderr, "bench_peers: %s by %s %s; it is not timed\n", task.name().c_str(),
                     candidate.name.c_str(), found.c_str());
        ++*faults;
    }
    return list;
}

Result result_of(const Task& task, const Options& options, int* faults) {
    const Candidates candidates = field_of(task, options, faults);
    const std::vector<double> times = measure(task, candidates, options);
    const Size size = options.size;
    const double threads = options.rules.threads;
    Result result{&task,
                  threads * size.width * size.height,
                  threads * static_cast<double>(from_bytes(task, size) + to_bytes(task, size)),
                  times.back(),
                  {}};
    for (size_t i = 0; i < candidates.size(); ++i)
        result.entries.push_back({candidates[i].name, candidates[i].tolerance.why, times[i]});
    return result;
}

void list_candidates(const Task& task, const Options& options, int* faults) {
    std::printf("%-26s %-24s", task.name().c_str(), task.family);
    for (const Candidate& candidate : field_of(task, options, faults))
        std::printf(" %s%s", candidate.name.c_str(), candidate.tolerance.why != nullptr ? "~" : "");
    std::printf("\n");
}

std::vector<const Task*> chosen(const std::string& only) {
    std::vector<const Task*> tasks;
    for (const Task& task : all_tasks())
        if ((task.name() + "\n" + task.family).find(only) != std::string::npos)
            tasks.push_back(&task);
    if (tasks.empty()) {
        std::fprintf(stderr,
                     "bench_peers: no name or family of a task contains \"%s\"; --list names them "
                     "all\n",
                     only.c_str());
        std::exit(2);
    }
    return tasks;
}

void show_progress(size_t done, size_t all, const std::string& name) {
    const bool wanted = isatty(STDERR_FILENO) != 0 && isatty(STDOUT_FILENO) == 0;
    if (wanted) std::fprintf(stderr, "\r\033[K[%zu/%zu] %s", done, all, name.c_str());
}

std::vector<Result> measure_all(const std::vector<const Task*>& tasks, const Options& options,
                                int* faults) {
    std::vector<Result> results;
    print_heading(options);
    for (size_t i = 0; i < tasks.size(); ++i) {
        show_progress(i + 1, tasks.size(), tasks[i]->name());
        results.push_back(result_of(*tasks[i], options, faults));
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
        for (const Task* task : tasks) list_candidates(*task, options, &faults);
        return faults == 0 ? 0 : 1;
    }
    const std::vector<Result> results = measure_all(tasks, options, &faults);
    if (!options.json.empty() && !write_json(options.json, options, results)) {
        std::fprintf(stderr, "bench_peers: cannot write %s; the figures above are not saved\n",
                     options.json.c_str());
        return 1;
    }
    return faults == 0 ? 0 : 1;
}
