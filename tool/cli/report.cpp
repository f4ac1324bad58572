#include "tool/cli/report.h"

#include <unistd.h>

#include <cstdint>
#include <iostream>
#include <mutex>

#include "tool/cli/text.h"

namespace trv::tool {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds first_after{400};  // shorter work needs no progress line
constexpr milliseconds again_after{100};

// Several threads may have something to say; each says it whole.
std::recursive_mutex speaking;
using Speaking = std::lock_guard<std::recursive_mutex>;
bool line_shown = false;

void clear_line() {
    if (line_shown) std::cerr << "\r\033[K";
    line_shown = false;
}

}  // namespace

void report(const Failure& failure) {
    const Speaking speaker(speaking);
    clear_line();
    std::cerr << "trvil: " << printable(failure.what()) << '\n';
    if (!failure.why().empty()) std::cerr << "  why:  " << printable(failure.why()) << '\n';
    if (!failure.next().empty()) std::cerr << "  next: " << printable(failure.next()) << '\n';
}

void note(const std::string& message) {
    const Speaking speaker(speaking);
    clear_line();
    std::cerr << "trvil: note: " << printable(message) << '\n';
}

void say_line(const std::string& line) {
    const Speaking speaker(speaking);
    clear_line();
    std::cerr << line << '\n';
}

void show_progress(const std::string& line) {
    const Speaking speaker(speaking);
    clear_line();
    std::cerr << printable(line) << std::flush;
    line_shown = true;
}

void clear_progress() {
    const Speaking speaker(speaking);
    clear_line();
}

bool is_watched() {
    return isatty(STDERR_FILENO) != 0;
}

Progress::Progress(size_t items)
    : items_(items), watched_(is_watched()), next_(Clock::now() + first_after) {}

Progress::~Progress() {
    const Speaking speaker(speaking);
    clear_line();
}

void Progress::start(const std::string& name) {
    const Speaking speaker(speaking);
    ++item_;
    name_ = printable(name);
    if (items_ > 1) show(0);
}

void Progress::part(uint64_t done, uint64_t whole) {
    if (!watched_) return;
    const Speaking speaker(speaking);
    if (Clock::now() >= next_) show(static_cast<unsigned>(done * 100 / whole));
}

void Progress::show(unsigned percent) {
    if (!watched_) return;
    clear_line();
    if (items_ > 1) std::cerr << '[' << item_ << '/' << items_ << "] ";
    std::cerr << name_ << ' ' << percent << " %" << std::flush;
    line_shown = true;
    next_ = Clock::now() + again_after;
}

}  // namespace trv::tool
