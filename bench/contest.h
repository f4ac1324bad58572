// A task against a memory copy of the same bytes (half of what it reads and writes together), in
// turns.
#pragma once

#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bench/measure.h"
#include "bench/options.h"
#include "bench/ring.h"

namespace bench {

struct Task {
    std::string name;
    const trv::Format& from;
    const trv::Format& to;
    Size from_size, to_size;
    std::function<void(uint64_t from, uint64_t to)> run;
};

// Frames in a ring: one of them when warm, more than the caches hold when cold.
struct Ring {
    std::vector<std::unique_ptr<Frame>> from, to;

    Ring(const trv::Format& from_format, Size from_size, const trv::Format& to_format, Size to_size,
         size_t count) {
        for (size_t i = 0; i < count; ++i) {
            from.push_back(std::make_unique<Frame>(from_format, from_size));
            to.push_back(std::make_unique<Frame>(to_format, to_size));
        }
    }
};

inline double contest(const Task& task, const Options& options) {
    const uint64_t from_bytes =
        trv::line_bytes(task.from, task.from_size.width) * task.from_size.height;
    const uint64_t to_bytes = trv::line_bytes(task.to, task.to_size.width) * task.to_size.height;
    const size_t count =
        options.cold ? std::max<size_t>(4, (size_t{400} << 20) / (from_bytes + to_bytes)) : 1;
    const Ring ring(task.from, task.from_size, task.to, task.to_size, count);
    const trv::Format& bytes = trv::format_of(trv::Code::Mono8);
    const Size half{static_cast<uint32_t>((from_bytes + to_bytes) / 2 / options.size.height),
                    options.size.height};
    const Ring copies(bytes, half, bytes, half, count);
    size_t turn = 0, copy_turn = 0;
    const auto run = [&] {
        const size_t i = turn++ % count;
        task.run(ring.from[i]->handle(), ring.to[i]->handle());
    };
    const auto copy = [&] {
        const size_t i = copy_turn++ % count;
        std::memcpy(copies.to[i]->memory(), copies.from[i]->memory(), copies.from[i]->bytes());
    };
    const auto times = race({run, copy}, options.rounds);
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
            results.emplace_back(contest(task, options), task.name);
    std::sort(results.rbegin(), results.rend());
    std::printf("# the ten slowest\n");
    for (size_t i = 0; i < std::min<size_t>(10, results.size()); ++i)
        std::printf("# %-30s %6.3f\n", results[i].second.c_str(), results[i].first);
}

}  // namespace bench
