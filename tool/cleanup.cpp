#include "tool/cleanup.h"

#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <exception>
#include <string_view>

#include "tool/error.h"

namespace trv::tool {
namespace {

constexpr int places = 64;
std::atomic<const char*> files[places];

void remove_files() {
    for (const auto& file : files)
        if (const char* path = file.load(); path != nullptr) unlink(path);
}

// Only calls that a signal handler may make.
void end_by(int signal) {
    remove_files();
    ::signal(signal, SIG_DFL);
    raise(signal);
}

// Only what needs no memory.
[[noreturn]] void end_early() {
    remove_files();
    constexpr std::string_view words =
        "trvil: ended early\n  why:  most likely there is not enough memory\n  next: check -s\n";
    [[maybe_unused]] const ssize_t ignored = write(STDERR_FILENO, words.data(), words.size());
    _exit(static_cast<int>(Exit::conversion));
}

// Before anything else of the program: objects made before main may need memory too.
[[gnu::constructor(101)]] void install_last_words() {
    std::set_terminate(end_early);
}

}  // namespace

void install_cleanup() {
    struct sigaction action {};
    action.sa_handler = end_by;
    sigemptyset(&action.sa_mask);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before {};
        // A process started with nohup goes on ignoring what it was told to ignore.
        if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
            sigaction(signal, &action, nullptr);
    }
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
}

int remember_file(const char* path) {
    for (int place = 0; place < places; ++place) {
        const char* none = nullptr;
        if (files[place].compare_exchange_strong(none, path)) return place;
    }
    return -1;
}

void forget_file(int place) {
    if (place >= 0) files[place].store(nullptr);
}

}  // namespace trv::tool
