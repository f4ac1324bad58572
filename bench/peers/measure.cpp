#include "bench/peers/measure.h"

#include <memory>

#include "bench/peers/frames.h"

namespace peers {
namespace {

// What one thread owns.
class Worker {
  public:
    Worker(const Task& task, const Candidates& candidates, const bench::Options& options) {
        const Size size = options.size;
        const size_t bytes = from_bytes(task, size) + to_bytes(task, size);
        const size_t capacity = capacity_for(task, size, candidates);
        for (size_t i = trv::timing::sets_of(bytes, options.rules); i > 0; --i)
            frames_.emplace_back(task, size, capacity, Content::noise);
        for (const Candidate& candidate : candidates)
            runs_.push_back(candidate.prepare(task.from_size(size)));
    }

    void call(size_t candidate) { runs_[candidate](next().job()); }
    void copy() { next().copy(); }

  private:
    const Frame& next() {
        turn_ = (turn_ + 1) % frames_.size();
        return frames_[turn_];
    }

    std::vector<Frame> frames_;
    std::vector<Run> runs_;
    size_t turn_ = 0;
};

}  // namespace

std::vector<double> measure(const Task& task, const Candidates& candidates,
                            const bench::Options& options) {
    std::vector<Worker> workers;
    for (unsigned i = 0; i < options.rules.threads; ++i)
        workers.emplace_back(task, candidates, options);
    std::vector<trv::timing::Candidate> calls;
    for (size_t i = 0; i < candidates.size(); ++i)
        calls.push_back([&workers, i](unsigned thread) { workers[thread].call(i); });
    calls.push_back([&workers](unsigned thread) { workers[thread].copy(); });
    return trv::timing::compare(calls, options.rules);
}

}  // namespace peers
