// Recordings: many dumps of one size and format, one after the other in files or on stdin.
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tool/cli/error.h"
#include "tool/files/input.h"
#include "tool/picture/frame.h"
#include "tool/streams/range.h"

namespace trv::tool {

struct Recording {
    std::vector<std::string> files;  // one recording together; "-" is stdin
    Geometry geometry;               // of a frame
    uint64_t skip = 0;               // bytes at the beginning of each file
    uint64_t frame_skip = 0;         // bytes before each frame, the first too
    FrameRange range = {};
    bool partial = false;  // a last frame that breaks off is black from there on, else left out

    // Bytes from the beginning of one frame to that of the next. Padding lies after every line.
    uint64_t pitch() const { return frame_skip + uint64_t{geometry.stride} * geometry.height; }
    // Bytes of a file before a frame's pixels.
    uint64_t offset(uint64_t index) const { return skip + frame_skip + pitch() * index; }
};

// The frames of a recording in order, read in one thread.
class FrameSource {
  public:
    // Throws Failure where a file is not there. Nothing is opened yet.
    explicit FrameSource(Recording recording);
    ~FrameSource();
    FrameSource(const FrameSource&) = delete;
    FrameSource& operator=(const FrameSource&) = delete;

    const Recording& recording() const { return recording_; }

    // How many frames there are to be read in all; nothing where an input does not tell its length.
    std::optional<uint64_t> count() const;

    // Reads the next frame into a picture of bytes_of(geometry), and tells which it is, counted
    // from 0 over all files and with those that are not wanted; nothing at the end. A file that
    // fails or breaks off is left there, and failures() says why.
    std::optional<uint64_t> next(const Frame& dump);

    // Name of the file that the last frame came from.
    const std::string& name() const { return recording_.files[at_]; }

    // Where its pixels begin in that file, and how many bytes of them are there.
    uint64_t offset() const { return recording_.offset(in_file_ - 1); }
    uint64_t bytes() const { return bytes_; }

    const std::vector<Failure>& failures() const { return failures_; }

    // Why there is no frame at all.
    Failure nothing() const;

    // next() throws ReaderGone once nobody reads stdout, where it would wait for a pipe.
    void watch_stdout() { watches_stdout_ = true; }

    // Lets next() end, now where it waits for a pipe. Any thread may call it.
    void stop();

  private:
    bool open_next();
    bool go_to_wanted();
    uint64_t pass(uint64_t frames);
    void close();
    bool is_stopping() const;
    std::string called() const;
    Failure too_short(uint64_t available) const;
    Failure breaks_off(uint64_t got) const;

    Recording recording_;
    std::optional<uint64_t> total_;
    std::vector<Failure> failures_;
    std::unique_ptr<Input> input_;
    size_t at_ = 0;  // file
    bool watches_stdout_ = false;
    bool begun_ = false;    // whether files[at_] is or was open
    uint64_t index_ = 0;    // of the next frame
    uint64_t in_file_ = 0;  // frames of this file before it
    uint64_t gap_ = 0;      // bytes from here to its pixels
    uint64_t bytes_ = 0;    // of the last frame
    std::atomic<bool> stopped_ = false;
    int stop_fd_;  // readable from then on
};

}  // namespace trv::tool
