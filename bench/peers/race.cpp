#include "bench/peers/race.h"

#include <time.h>

#include <algorithm>

#include "bench/measure.h"
#include "bench/peers/crew.h"

namespace peers {
namespace {

// The processor's time of this thread, so that other programs of the machine are not counted.
double own_seconds(const std::function<void()>& run) {
    const auto now = [] {
        timespec t{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
        return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
    };
    const double start = now();
    run();
    return now() - start;
}

// What one thread owns.
class Lane {
  public:
    Lane(const Task& task, const Contestants& contestants, const Rules& rules) {
        const size_t bytes = from_bytes(task, rules.size) + to_bytes(task, rules.size);
        const size_t ring = rules.cold ? std::max<size_t>(4, (size_t{400} << 20) / bytes) : 1;
        const size_t room = room_for(task, rules.size, contestants);
        for (size_t i = 0; i < ring; ++i)
            frames_.push_back(std::make_unique<Frame>(task, rules.size, room, Content::noise));
        for (const Contestant& contestant : contestants)
            runs_.push_back(contestant.prepare(task.from_size(rules.size)));
    }

    // Contestants by their index; the one behind the last is the memory copy.
    void call(size_t contestant, size_t times) {
        for (size_t i = 0; i < times; ++i) {
            turn_ = (turn_ + 1) % frames_.size();
            if (contestant == runs_.size())
                frames_[turn_]->copy();
            else
                runs_[contestant](frames_[turn_]->job());
        }
    }

  private:
    std::vector<std::unique_ptr<Frame>> frames_;
    std::vector<Run> runs_;
    size_t turn_ = 0;
};

// One contestant's times. One that is much slower than we are sits out after a few rounds, so that
// it costs a run no more than the others do.
struct Record {
    static constexpr size_t enough = 5;
    std::vector<double> times;
    size_t calls = 1;  // in one measurement, which takes at least 50 microseconds
    bool sits_out(const Record& own) const {
        return times.size() >= enough && bench::median(times) > 8 * bench::median(own.times);
    }
};

class Race {
  public:
    Race(const Task& task, const Contestants& contestants, const Rules& rules)
        : settle_(!rules.cold), crew_(rules.threads), records_(contestants.size() + 1) {
        for (unsigned i = 0; i < rules.threads; ++i)
            lanes_.push_back(std::make_unique<Lane>(task, contestants, rules));
        for (size_t i = 0; i < records_.size(); ++i) warm_up(i);
    }

    // Everyone begins a round once in a while.
    void round(size_t number) {
        for (size_t k = 0; k < records_.size(); ++k) {
            const size_t i = (k + number) % records_.size();
            Record& record = records_[i];
            const bool behind = i > 0 && record.sits_out(records_[0]);
            if (behind) continue;
            if (settle_) call_all(i, 3);
            record.times.push_back(time(i) / static_cast<double>(record.calls));
        }
    }

    std::vector<double> medians() const {
        std::vector<double> list;
        for (const Record& record : records_) list.push_back(bench::median(record.times));
        return list;
    }

  private:
    double time(size_t contestant) {
        const size_t calls = records_[contestant].calls;
        const auto work = [&] { call_all(contestant, calls); };
        return lanes_.size() == 1 ? own_seconds(work) : bench::seconds(work);
    }
    void call_all(size_t contestant, size_t calls) {
        crew_.all([&](unsigned lane) { lanes_[lane]->call(contestant, calls); });
    }
    void warm_up(size_t contestant) {
        time(contestant);
        const double once = time(contestant);
        records_[contestant].calls = static_cast<size_t>(std::max(1.0, 50e-6 / once));
    }

    // A warm frame is where the contestant itself leaves it in the caches, not where the one before
    // did: some write around the caches, and it takes three calls until that is forgotten.
    bool settle_;
    Crew crew_;
    std::vector<std::unique_ptr<Lane>> lanes_;
    std::vector<Record> records_;
};

}  // namespace

std::vector<double> race(const Task& task, const Contestants& contestants, const Rules& rules) {
    Race race(task, contestants, rules);
    for (int i = 0; i < rules.rounds; ++i) race.round(static_cast<size_t>(i));
    return race.medians();
}

}  // namespace peers
