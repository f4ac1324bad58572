// What the tool says on stderr: failures, notes, and a progress line where a person is watching.
#pragma once

#include <chrono>
#include <string>

#include "tool/cli/error.h"

namespace trv::tool {

void report(const Failure& failure);

// Something worth knowing that stops nothing.
void note(const std::string& message);

// A line for programs, among what is said.
void say_line(const std::string& line);

// A line that is written over by the next, and gone before anything else is said.
void show_progress(const std::string& line);
void clear_progress();

// Whether a person is watching stderr.
bool is_watched();

// One line that is written over and over, only on a terminal, and only for several items or when an
// item takes longer than a moment. Threads may share one: it shows the item that began last.
class Progress {
  public:
    explicit Progress(size_t items);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void start(const std::string& name);
    void part(uint64_t done, uint64_t whole);

  private:
    using Clock = std::chrono::steady_clock;
    void show(unsigned percent);

    size_t items_;
    size_t item_ = 0;
    bool watched_;
    std::string name_;
    Clock::time_point next_;
};

}  // namespace trv::tool
