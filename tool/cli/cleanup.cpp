#include "tool/cli/cleanup.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <random>
#include <string_view>

#include "tool/cli/error.h"
#include "tool/cli/text.h"

namespace trv::tool {
namespace {

constexpr int deadly[] = {SIGINT, SIGTERM, SIGHUP};

sigset_t deadly_set() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : deadly) sigaddset(&set, signal);
    return set;
}

// Files appear, get their names and go only while this is held.
std::atomic<bool> held = false;

void hold() {
    while (held.exchange(true, std::memory_order_acquire)) poll(nullptr, 0, 1);
}

// Holds with the signals blocked, so a handler never waits for the thread that it interrupted.
class Undisturbed {
  public:
    Undisturbed() {
        const sigset_t set = deadly_set();
        pthread_sigmask(SIG_BLOCK, &set, &before_);
        hold();
    }
    ~Undisturbed() {
        held.store(false, std::memory_order_release);
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    Undisturbed(const Undisturbed&) = delete;
    Undisturbed& operator=(const Undisturbed&) = delete;

  private:
    sigset_t before_;
};

std::atomic<int> stopped_by = 0;
std::atomic<int> stop_fd = -1;
static_assert(std::atomic<int>::is_always_lock_free);  // a handler uses them

// Whether it is the first one, and somebody wants to finish something.
bool only_stops(int signal) {
    int none = 0;
    if (stop_fd < 0 || !stopped_by.compare_exchange_strong(none, signal)) return false;
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t ignored = write(stop_fd, &one, sizeof one);
    return true;
}

// Only calls that a signal handler may make. It goes on holding, so that no thread makes or names a
// file before the process has ended.
void end_by(int signal) {
    const int error = errno;
    if (only_stops(signal)) {
        errno = error;
        return;
    }
    hold();
    TemporaryFile::remove_all();
    ::signal(signal, SIG_DFL);
    raise(signal);  // arrives when the handler returns
}

// Only what needs no memory.
[[noreturn]] void end_early() {
    const Undisturbed to_the_end;
    TemporaryFile::remove_all();
    constexpr std::string_view words =
        "trvil: ended early\n  why:  most likely there is not enough memory\n  next: check -s\n";
    [[maybe_unused]] const ssize_t ignored = write(STDERR_FILENO, words.data(), words.size());
    _exit(static_cast<int>(Exit::conversion));
}

// Before anything else of the program: objects made before main may need memory too.
[[gnu::constructor(101)]] void install_last_words() {
    std::set_terminate(end_early);
}

// The process in it tells whose leftovers they are, should the machine stop.
std::string unforeseen_name() {
    std::random_device random;
    return text(".trvil-", getpid(), "-", std::hex, random(), random(), ".tmp");
}

// Moves without replacing. Old file systems cannot, there a link does the same.
bool move_to_new(const char* from, const char* to) {
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return true;
    if (errno != EINVAL && errno != ENOSYS) return false;
    return link(from, to) == 0 && unlink(from) == 0;
}

}  // namespace

TemporaryFile* TemporaryFile::first = nullptr;

void install_cleanup() {
    struct sigaction action {};
    action.sa_handler = end_by;
    action.sa_mask = deadly_set();
    action.sa_flags = SA_RESTART;
    for (const int signal : deadly) {
        struct sigaction before {};
        // A process started with nohup goes on ignoring what it was told to ignore.
        if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
            sigaction(signal, &action, nullptr);
    }
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
}

void stop_at_first_signal() {
    if (stop_fd < 0) stop_fd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
}

int stop_signal_fd() {
    return stop_fd;
}

bool is_stopped() {
    return stopped_by != 0;
}

void end_if_stopped() {
    if (stopped_by != 0) raise(stopped_by);
}

void end_by_closed_pipe() {
    {
        const Undisturbed section;
        TemporaryFile::remove_all();
        signal(SIGPIPE, SIG_DFL);
        raise(SIGPIPE);
    }
    _exit(static_cast<int>(Exit::output));
}

bool TemporaryFile::create(const std::string& folder, mode_t mode) {
    constexpr int attempts = 100;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        path_ = text(folder, "/", unforeseen_name());
        const Undisturbed section;
        fd_ = open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (fd_ >= 0) enlist();
        if (fd_ >= 0 || errno != EEXIST) break;
    }
    return fd_ >= 0;
}

bool TemporaryFile::move(const std::string& to, bool replace) {
    const Undisturbed section;
    const bool moved =
        replace ? rename(path_.c_str(), to.c_str()) == 0 : move_to_new(path_.c_str(), to.c_str());
    if (moved) strike();
    return moved;
}

TemporaryFile::~TemporaryFile() {
    const Undisturbed section;
    if (fd_ >= 0) close(fd_);
    if (!listed_) return;
    unlink(path_.c_str());
    strike();
}

void TemporaryFile::remove_all() {
    for (const TemporaryFile* file = first; file != nullptr; file = file->next_)
        unlink(file->path_.c_str());
}

void TemporaryFile::enlist() {
    next_ = first;
    if (next_ != nullptr) next_->previous_ = this;
    first = this;
    listed_ = true;
}

void TemporaryFile::strike() {
    (previous_ != nullptr ? previous_->next_ : first) = next_;
    if (next_ != nullptr) next_->previous_ = previous_;
    listed_ = false;
}

}  // namespace trv::tool
