#include "tool/timing.h"

#include <algorithm>
#include <atomic>
#include <barrier>
#include <chrono>
#include <cstring>
#include <thread>

#include "tool/cli/error.h"
#include "tool/cli/text.h"
#include "tool/picture/frame.h"
#include "trvil/til.h"

namespace trv::tool {
namespace {

using Clock = std::chrono::steady_clock;

constexpr uint64_t beyond_caches = uint64_t{256} << 20;
constexpr double long_enough = 1e-3;  // seconds of a turn, so that the clock's own time is nothing

Frame noisy(const Geometry& geometry) {
    Frame frame(geometry);
    uint8_t* memory = frame.line(0);
    for (uint64_t i = 0; i < geometry.bytes(); ++i)
        memory[i] = static_cast<uint8_t>(i * 2654435761u >> 13);
    return frame;
}

// The pictures of one thread, one after the other when they are to be cold.
class Lane {
  public:
    explicit Lane(const Task& task) : steps_(task.path.size() - 1) {
        for (size_t i = 0; i < steps_; ++i)
            bytes_ += tight_of(task, i).bytes() + tight_of(task, i + 1).bytes();
        const uint64_t sets = task.cold ? beyond_caches / bytes_ + 2 : 1;
        for (uint64_t set = 0; set < sets; ++set) add_set(task);
    }

    uint64_t bytes() const { return bytes_; }

    void convert() {
        const size_t first = turn_++ % (frames_.size() / (steps_ + 1)) * (steps_ + 1);
        for (size_t i = 0; i < steps_; ++i)
            status_ |= TIL_Convert(frames_[first + i].handle(), frames_[first + i + 1].handle());
    }

    void copy() {
        auto& [from, to] = copies_[copy_turn_++ % copies_.size()];
        std::memcpy(to.data(), from.data(), from.size());
    }

    uint32_t status() const { return status_; }

  private:
    using Bytes = std::vector<uint8_t>;

    static Geometry tight_of(const Task& task, size_t step) {
        return tight(*task.path[step], task.size.width, task.size.height);
    }

    // Unpacking writes whole groups, so lines of what it makes have room behind them.
    static Geometry roomy_of(const Task& task, size_t step) {
        Geometry g = tight_of(task, step);
        if (step > 0 && is_packed(*task.path[step - 1]) && task.size.width % 4 != 0) g.stride += 8;
        return g;
    }

    void add_set(const Task& task) {
        for (size_t i = 0; i <= steps_; ++i) {
            frames_.push_back(noisy(roomy_of(task, i)));
            frames_.back().set_bayer(task.how.method, task.how.phase);
        }
        copies_.emplace_back(Bytes(bytes_ / 2, 1), Bytes(bytes_ / 2, 2));
    }

    size_t steps_, turn_ = 0, copy_turn_ = 0;
    uint64_t bytes_ = 0;
    uint32_t status_ = TRV_STATUS_OK;
    std::vector<Frame> frames_;
    std::vector<std::pair<Bytes, Bytes>> copies_;
};

enum class Turn { convert, copy, end };

// Threads that all do the same turn at the same time.
class Crew {
  public:
    explicit Crew(const Task& task) : gate_(static_cast<long>(task.threads) + 1) {
        for (uint32_t i = 0; i < task.threads; ++i) lanes_.emplace_back(task);
        for (Lane& lane : lanes_) threads_.emplace_back([this, &lane] { work(&lane); });
    }
    ~Crew() {
        do_turn(Turn::end, 0);
        for (std::thread& thread : threads_) thread.join();
    }
    Crew(const Crew&) = delete;
    Crew& operator=(const Crew&) = delete;

    double do_turn(Turn turn, uint32_t times) {
        turn_ = turn;
        times_ = times;
        const auto start = Clock::now();
        gate_.arrive_and_wait();
        if (turn != Turn::end) gate_.arrive_and_wait();
        return std::chrono::duration<double>(Clock::now() - start).count() / std::max(1u, times);
    }

    const Lane& lane() const { return lanes_.front(); }

  private:
    void work(Lane* lane) {
        for (;;) {
            gate_.arrive_and_wait();
            if (turn_ == Turn::end) return;
            for (uint32_t i = 0; i < times_; ++i)
                turn_ == Turn::convert ? lane->convert() : lane->copy();
            gate_.arrive_and_wait();
        }
    }

    std::barrier<> gate_;
    Turn turn_ = Turn::end;
    uint32_t times_ = 0;
    std::vector<Lane> lanes_;
    std::vector<std::thread> threads_;
};

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<long>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace

Timing race(const Task& task) {
    Crew crew(task);
    const double once = crew.do_turn(Turn::convert, 1);
    crew.do_turn(Turn::copy, 1);
    if (const uint32_t status = crew.lane().status(); status != TRV_STATUS_OK)
        throw Failure(Exit::conversion, text("cannot convert ", path_text(task.path)),
                      text("the library answered status ", status), "");
    const auto times = static_cast<uint32_t>(std::clamp(long_enough / once, 1.0, 10000.0));
    std::vector<double> conversions, copies;
    for (uint32_t round = 0; round < task.rounds; ++round) {
        conversions.push_back(crew.do_turn(Turn::convert, times));
        copies.push_back(crew.do_turn(Turn::copy, times));
    }
    const double pictures = task.threads;
    return {median(conversions), median(copies), pictures * task.size.width * task.size.height,
            pictures * static_cast<double>(crew.lane().bytes())};
}

}  // namespace trv::tool
