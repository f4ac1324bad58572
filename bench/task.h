// A task against a memory copy of the same bytes (half of what it reads and writes together), in
// turns.
#pragma once

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "bench/options.h"

namespace bench {

struct Task {
    std::string name;
    const trv::Format& from;
    const trv::Format& to;
    Size from_size, to_size;
    std::function<void(uint64_t from, uint64_t to)> run;
};

// What one call works on.
struct Frames {
    explicit Frames(const Task& task)
        : copy_bytes((bytes_of(task.from, task.from_size) + bytes_of(task.to, task.to_size)) / 2),
          from_memory(bytes_of(task.from, task.from_size)),
          to_memory(bytes_of(task.to, task.to_size)),
          copy_from(copy_bytes),
          copy_to(copy_bytes),
          from(buffer_of(task.from, task.from_size, from_memory.data())),
          to(buffer_of(task.to, task.to_size, to_memory.data())) {}

    uint64_t copy_bytes;
    Memory from_memory, to_memory, copy_from, copy_to;
    trvil::Buffer from, to;
};

inline double ratio_to_copy(const Task& task, const Options& options) {
    const uint64_t bytes = bytes_of(task.from, task.from_size) + bytes_of(task.to, task.to_size);
    std::vector<Frames> ring;
    for (size_t i = trv::timing::sets_of(bytes, options.rules); i > 0; --i) ring.emplace_back(task);
    size_t turn = 0, copy_turn = 0;
    const auto run = [&](unsigned) {
        const Frames& f = ring[turn++ % ring.size()];
        task.run(f.from.handle(), f.to.handle());
    };
    const auto copy = [&](unsigned) {
        const Frames& f = ring[copy_turn++ % ring.size()];
        std::memcpy(f.copy_to.data(), f.copy_from.data(), f.copy_bytes);
    };
    const auto times = trv::timing::compare({run, copy}, options.rules);
    const double pixels = 1e-6 * task.to_size.width * task.to_size.height;
    std::printf("%-30s %6.3f %8.0f Mpx/s\n", task.name.c_str(), times[0] / times[1],
                pixels / times[0]);
    std::fflush(stdout);
    return times[0] / times[1];
}

inline void run_all(const std::vector<Task>& tasks, const Options& options) {
    std::vector<std::pair<double, std::string>> results;
    for (const Task& task : tasks)
        if (task.name.find(options.only) != std::string::npos)
            results.emplace_back(ratio_to_copy(task, options), task.name);
    std::sort(results.rbegin(), results.rend());
    std::printf("# the ten slowest\n");
    for (size_t i = 0; i < std::min<size_t>(10, results.size()); ++i)
        std::printf("# %-30s %6.3f\n", results[i].second.c_str(), results[i].first);
}

}  // namespace bench
