#include "tool/commands/timing.h"

#include <cstring>

#include "tool/cli/error.h"
#include "tool/cli/text.h"
#include "tool/picture/frame.h"
#include "trvil/raw.h"

namespace trv::tool {
namespace {

Frame noisy(const Geometry& geometry) {
    Frame frame(geometry);
    uint8_t* memory = frame.line(0);
    for (uint64_t i = 0; i < geometry.bytes(); ++i)
        memory[i] = static_cast<uint8_t>(i * 2654435761u >> 13);
    return frame;
}

// The formats that the calls make, one after the other.
Path results_of(const Task& task) {
    if (task.developer != nullptr) return {task.path.back()};
    if (task.path.size() == 1) return task.path;
    Path results;
    for (size_t step = 0; step + 1 < task.path.size(); ++step) {
        if (passes_over(task.path, step)) ++step;
        results.push_back(task.path[step + 1]);
    }
    return results;
}

// The pictures of one thread, one after the other when they are to be cold.
class Worker {
  public:
    explicit Worker(const Task& task) : task_(task), results_(results_of(task)) {
        uint64_t read = task.source.bytes();
        for (const Format* format : results_) {
            const uint64_t written = tight_of(*format).bytes();
            bytes_ += read + written;
            read = written;
        }
        for (size_t set = timing::sets_of(bytes_, task.rules); set > 0; --set) add_set();
        if (task.developer != nullptr) recipe_ = task.developer->recipe_for(frames_[0], nullptr);
    }

    uint64_t bytes() const { return bytes_; }

    void convert() {
        const size_t pictures = results_.size() + 1;
        const Frame* set = &frames_[turn_++ % (frames_.size() / pictures) * pictures];
        if (recipe_ != nullptr)
            return task_.developer->develop(set[0], recipe_.get(), set[1], nullptr);
        status_ |= first_call(set[0], set[1]);
        for (size_t i = 1; i < results_.size(); ++i)
            status_ |= TRW_Convert(set[i].handle(), 0, set[i + 1].handle(), nullptr, nullptr);
    }

    void copy() {
        auto& [from, to] = copies_[copy_turn_++ % copies_.size()];
        std::memcpy(to.data(), from.data(), from.size());
    }

    uint32_t status() const { return status_; }

  private:
    using Bytes = std::vector<uint8_t>;

    Geometry tight_of(const Format& format) const {
        return tight(format, task_.source.width, task_.source.height);
    }

    // Unpacking writes whole groups, so lines of what it makes have room after them.
    Geometry roomy_of(const Format& made_of, const Format& format) const {
        Geometry g = tight_of(format);
        if (is_packed(made_of) && g.width % 4 != 0) g.stride += 8;
        return g;
    }

    uint32_t first_call(const Frame& from, const Frame& to) const {
        const Geometry& g = task_.source;
        if (g.packing == 0) return TRW_Convert(from.handle(), 0, to.handle(), nullptr, nullptr);
        const bool mosaic = g.format->family == Family::bayer;
        const TRW_Settings settings{sizeof settings, whole_code(*g.format),
                                    mosaic ? task_.how.method : 0,
                                    mosaic ? phase_parameter(task_.how.phase) : 0};
        return TRW_Convert(packed_lines(from, g, 0, g.height).handle(), g.packing, to.handle(),
                           &settings, nullptr);
    }

    void add_set() {
        frames_.push_back(noisy(bytes_of(task_.source)));
        const Format* made_of = task_.source.format;
        for (const Format* format : results_) {
            frames_.push_back(noisy(roomy_of(*made_of, *format)));
            made_of = format;
        }
        for (size_t i = frames_.size() - results_.size() - 1; i < frames_.size(); ++i)
            frames_[i].set_bayer(task_.how.method, task_.how.phase);
        copies_.emplace_back(Bytes(bytes_ / 2, 1), Bytes(bytes_ / 2, 2));
    }

    const Task& task_;
    const Path results_;
    size_t turn_ = 0, copy_turn_ = 0;
    uint64_t bytes_ = 0;
    uint32_t status_ = TRV_STATUS_OK;
    std::vector<Frame> frames_;
    std::vector<std::pair<Bytes, Bytes>> copies_;
    Developer::Recipe recipe_;
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
    return {seconds[0], seconds[1], pictures * task.source.width * task.source.height,
            pictures * static_cast<double>(workers[0].bytes())};
}

}  // namespace trv::tool
