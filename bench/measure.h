// Timing by ratio: every task is timed in turns with a memory copy of the same bytes, in one
// process, so that what the machine does to one it does to the other. Medians of many rounds are
// compared.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <functional>
#include <vector>

namespace bench {

using Clock = std::chrono::steady_clock;

inline double seconds(const std::function<void()>& run) {
    const auto start = Clock::now();
    run();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

inline double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2),
                     values.end());
    return values[values.size() / 2];
}

// Medians of the contestants' times, each called once per round, in turns.
inline std::vector<double> race(const std::vector<std::function<void()>>& contestants, int rounds) {
    std::vector<std::vector<double>> times(contestants.size());
    for (const auto& run : contestants) run();
    for (int round = 0; round < rounds; ++round)
        for (size_t i = 0; i < contestants.size(); ++i) times[i].push_back(seconds(contestants[i]));
    std::vector<double> medians;
    for (auto& list : times) medians.push_back(median(list));
    return medians;
}

}  // namespace bench
