#include "tool/cleanup.h"

#include <signal.h>
#include <unistd.h>

#include <atomic>

namespace trv::tool {
namespace {

constexpr int places = 64;
std::atomic<const char*> files[places];

// Only calls that a signal handler may make.
void remove_files(int signal) {
    for (const auto& file : files)
        if (const char* path = file.load(); path != nullptr) unlink(path);
    ::signal(signal, SIG_DFL);
    raise(signal);
}

}  // namespace

void install_cleanup() {
    struct sigaction action {};
    action.sa_handler = remove_files;
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
