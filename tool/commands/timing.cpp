#include "tool/commands/timing.h"

#include <cstring>

#include "tool/cli/error.h"
#include "tool/cli/text.h"
#include "tool/picture/frame.h"
#include "trvil/til.h"

namespace trv::tool {
namespace {

Frame noisy(const Geometry& geometry) {
    Frame frame(geometry);
    uint8_t* memory = frame.line(0);
    for (uint64_t i = 0; i < geometry.bytes(); ++i)
        memory[i] = static_cast<uint8_t>(i * 2654435761u >> 13);
    return frame;
}

// The pictures of one thread, one after the other when they are to be cold.
class Worker {
  public:
    explicit Worker(const Task& task) : steps_(task.path.size() - 1) {
        for (size_t i = 0; i < steps_; ++i)
            bytes_ += tight_of(task, i).bytes() + tight_of(task, i + 1).bytes();
        for (size_t set = timing::sets_of(bytes_, task.rules); set > 0; --set) add_set(task);
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

    // Unpacking writes whole groups, so lines of what it makes have room after them.
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

}  // namespace

Timing measure(const Task& task) {
    std::vector<Worker> workers;
    for (uint32_t i = 0; i < task.rules.threads; ++i) workers.emplace_back(task);
    workers[0].convert();
    if (const uint32_t status = workers[0].status(); status != TRV_STATUS_OK)
        throw Failure(Exit::conversion, text("cannot convert ", path_text(task.path)),
                      text("the library answered status ", status), "");
    const auto seconds = timing::compare({[&](unsigned thread) { workers[thread].convert(); },
                                          [&](unsigned thread) { workers[thread].copy(); }},
                                         task.rules);
    const double pictures = task.rules.threads;
    return {seconds[0], seconds[1], pictures * task.size.width * task.size.height,
            pictures * static_cast<double>(workers[0].bytes())};
}

}  // namespace trv::tool
