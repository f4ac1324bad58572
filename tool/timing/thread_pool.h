// Threads that do one thing at the same time, again and again.
#pragma once

#include <barrier>
#include <functional>
#include <thread>
#include <vector>

namespace trv::timing {

class ThreadPool {
  public:
    explicit ThreadPool(unsigned threads) : start_(threads), end_(threads) {
        for (unsigned i = 1; i < threads; ++i) workers_.emplace_back([this, i] { serve(i); });
    }
    ~ThreadPool() {
        if (workers_.empty()) return;
        work_ = nullptr;
        start_.arrive_and_wait();
        for (std::thread& worker : workers_) worker.join();
    }
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    bool has_workers() const { return !workers_.empty(); }

    // Calls `work` once in every thread, the calling one as number 0; returns when all are done.
    void all(const std::function<void(unsigned)>& work) {
        if (workers_.empty()) return work(0);
        work_ = &work;
        start_.arrive_and_wait();
        work(0);
        end_.arrive_and_wait();
    }

  private:
    void serve(unsigned number) {
        for (;;) {
            start_.arrive_and_wait();
            if (work_ == nullptr) return;
            (*work_)(number);
            end_.arrive_and_wait();
        }
    }

    std::barrier<> start_, end_;
    const std::function<void(unsigned)>* work_ = nullptr;
    std::vector<std::thread> workers_;
};

}  // namespace trv::timing
