// How far a stream is: a line that is written over and over on a terminal, or JSON lines.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace trv::tool {

class StreamProgress {
  public:
    // `frames` are to come, as far as that is known.
    StreamProgress(std::string name, std::optional<uint64_t> frames, bool json);
    ~StreamProgress();
    StreamProgress(const StreamProgress&) = delete;
    StreamProgress& operator=(const StreamProgress&) = delete;

    // One more is written.
    void step();

    // All are, or what is whole.
    void finish();

  private:
    using Clock = std::chrono::steady_clock;
    double rate() const;
    void show();
    void print_json(bool is_done);

    std::string name_;
    std::optional<uint64_t> frames_;
    bool json_, watched_;
    uint64_t done_ = 0;
    Clock::time_point begun_, next_;
};

}  // namespace trv::tool
