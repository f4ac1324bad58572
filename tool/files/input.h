// Bytes of dumps and pictures, read from a file or from stdin ("-").
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tool/picture/frame.h"

struct stat;

namespace trv::tool {

// Opened for reading from its beginning to its end. All throw Failure when it is missing or cannot
// be read. A fifo waits for who writes to it, as in any program.
class Input {
  public:
    explicit Input(const std::string& path);
    ~Input();
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    const std::string& name() const { return name_; }

    // Bytes from here to the end; pipes and devices do not tell.
    std::optional<uint64_t> remaining() const { return remaining_; }

    // How many were read: fewer than wanted at the end of the input.
    uint64_t read(uint8_t* to, uint64_t wanted);

    // What comes next, at most `most` bytes of it, without taking it.
    const std::vector<uint8_t>& peek(size_t most);

    // How many were skipped: fewer than wanted at the end of the input.
    uint64_t skip(uint64_t bytes);

    // Lets reading a pipe or a device end early, as at its end, once the descriptor is readable or
    // the process is to stop; where stdout is watched, throws ReaderGone once nobody reads that.
    void stop_by(int fd, bool watches_stdout);

    // Whether something follows that is there already: the sender of a pipe may be silent for long.
    bool has_more();

  private:
    void start_of_file(const struct stat& status);
    uint64_t fetch(uint8_t* to, uint64_t wanted);
    bool wait() const;
    [[noreturn]] void fail(const char* what, const char* next) const;

    std::string name_;
    int fd_;
    int stop_fd_ = -1;
    bool watches_stdout_ = false;
    std::optional<uint64_t> remaining_;
    std::vector<uint8_t> ahead_;  // fetched and not taken yet
};

// Reads the picture that begins `skip` bytes into the input, a packed one as its bytes (bytes_of).
// Bytes after it are left unread and, with a note, ignored. Throws Failure when the input is
// missing, unreadable or too short.
Frame read_bytes(const std::string& path, const Geometry& geometry, uint64_t skip);

// The same, unpacked.
Frame read_frame(const std::string& path, const Geometry& geometry, uint64_t skip);

struct Contents {
    std::vector<uint8_t> bytes;
    uint64_t length;  // of the whole input
};

// The first bytes of an input, at most `most`. Throws Failure when it is missing or unreadable, or
// a stream that does not end within `longest` bytes: only its end tells its length.
Contents read_contents(const std::string& path, uint64_t most, uint64_t longest);

}  // namespace trv::tool
