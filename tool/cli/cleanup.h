// Files that are not whole yet, and what becomes of them when a signal ends the process.
#pragma once

#include <sys/types.h>

#include <string>

namespace trv::tool {

// Lets SIGINT, SIGTERM and SIGHUP remove all temporary files before they end the process, and lets
// a closed pipe and a file-size limit be ordinary write errors.
void install_cleanup();

// From here on the first of these signals does not end the process, so that a stream can finish
// what is whole; a second one does at once. Once it came, stop_signal_fd() is readable.
void stop_at_first_signal();
int stop_signal_fd();  // -1 where nobody asked for it
bool is_stopped();

// Ends the process by the signal that came, if one did.
void end_if_stopped();

// Ends the process as a closed pipe ends those that do not ask.
[[noreturn]] void end_by_closed_pipe();

// A file under a name that nobody can foresee, until it is moved to its own. It goes with the
// object, or with the process when a signal ends that. As many as one likes, in any thread.
class TemporaryFile {
  public:
    TemporaryFile() = default;
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    // Makes it, empty, in a folder. Returns false where that fails, as errno tells.
    bool create(const std::string& folder, mode_t mode);

    int fd() const { return fd_; }
    const std::string& path() const { return path_; }

    // Gives it another name, once a signal was taken never. Without `replace` a file of that name
    // stays. Returns false where that fails, as errno tells.
    bool move(const std::string& to, bool replace);

    // Removes the files of all objects there are. A signal handler may call it.
    static void remove_all();

  private:
    void enlist();
    void strike();

    static TemporaryFile* first;
    TemporaryFile *next_ = nullptr, *previous_ = nullptr;
    std::string path_;  // stays as it is while the file is in the list
    int fd_ = -1;
    bool listed_ = false;
};

}  // namespace trv::tool
