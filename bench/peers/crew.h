// Threads that do one thing at the same time, again and again.
#pragma once

#include <barrier>
#include <functional>
#include <thread>
#include <vector>

namespace peers {

class Crew {
  public:
    explicit Crew(unsigned threads) : start_(threads), end_(threads) {
        for (unsigned i = 1; i < threads; ++i) members_.emplace_back([this, i] { serve(i); });
    }
    ~Crew() {
        work_ = nullptr;
        start_.arrive_and_wait();
        for (std::thread& member : members_) member.join();
    }
    Crew(const Crew&) = delete;
    Crew& operator=(const Crew&) = delete;

    // Calls `work` once in every thread, the calling one as number 0; returns when all are done.
    void all(const std::function<void(unsigned)>& work) {
        if (members_.empty()) return work(0);
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
    std::vector<std::thread> members_;
};

}  // namespace peers
