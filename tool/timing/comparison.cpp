#include "tool/timing/comparison.h"

#include <time.h>

#include <algorithm>
#include <chrono>

#include "tool/timing/thread_pool.h"

namespace trv::timing {
namespace {

constexpr uint64_t MiB = uint64_t{1} << 20;

// The processor's time of this thread, so that other programs of the machine are not counted.
double own_seconds(const std::function<void()>& work) {
    const auto now = [] {
        timespec t{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
        return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
    };
    const double start = now();
    work();
    return now() - start;
}

// One candidate's times. One that is much slower than the first sits out after a few rounds, so
// that it costs a run no more than the others do.
struct Record {
    static constexpr size_t enough = 5;
    std::vector<double> times;
    size_t calls = 1;  // in one measurement
    bool sits_out(const Record& first) const {
        return times.size() >= enough && median(times) > 8 * median(first.times);
    }
};

class Comparison {
  public:
    Comparison(const std::vector<Candidate>& candidates, const Rules& rules)
        : candidates_(candidates),
          settle_(!rules.cold),
          pool_(rules.threads),
          records_(candidates.size()) {
        for (size_t i = 0; i < candidates_.size(); ++i) warm_up(i);
    }

    // Each begins a round once in a while.
    void round(size_t number) {
        for (size_t k = 0; k < records_.size(); ++k) {
            const size_t i = (k + number) % records_.size();
            Record& record = records_[i];
            if (i > 0 && record.sits_out(records_[0])) continue;
            if (settle_) call(i, 3);
            record.times.push_back(time(i) / static_cast<double>(record.calls));
        }
    }

    std::vector<double> medians() const {
        std::vector<double> list;
        for (const Record& record : records_) list.push_back(median(record.times));
        return list;
    }

  private:
    // Measurements take at least so long that the clock, or the meeting of the threads, is nothing.
    double long_enough() const { return pool_.has_workers() ? 1e-3 : 50e-6; }

    double time(size_t candidate) {
        const auto work = [&] { call(candidate, records_[candidate].calls); };
        return pool_.has_workers() ? seconds(work) : own_seconds(work);
    }
    void call(size_t candidate, size_t times) {
        pool_.all([&](unsigned thread) {
            for (size_t i = 0; i < times; ++i) candidates_[candidate](thread);
        });
    }
    void warm_up(size_t candidate) {
        time(candidate);
        const double once = std::max(time(candidate), 1e-9);
        records_[candidate].calls = static_cast<size_t>(std::max(1.0, long_enough() / once));
    }

    const std::vector<Candidate>& candidates_;
    // Warm data are where the candidate itself leaves them in the caches, not where the one before
    // did: some write around the caches, and it takes three calls until that is forgotten.
    bool settle_;
    ThreadPool pool_;
    std::vector<Record> records_;
};

}  // namespace

std::vector<double> compare(const std::vector<Candidate>& candidates, const Rules& rules) {
    Comparison comparison(candidates, rules);
    for (size_t i = 0; i < rules.rounds; ++i) comparison.round(i);
    return comparison.medians();
}

size_t sets_of(uint64_t bytes, const Rules& rules) {
    if (!rules.cold) return 1;
    // Threads share the last cache; the one before it is each core's own.
    const uint64_t beyond_caches = std::max(400 * MiB / rules.threads, 16 * MiB);
    return beyond_caches / bytes + 2;
}

double seconds(const std::function<void()>& work) {
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace trv::timing
