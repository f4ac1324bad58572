// A recording as one page for browsers, which shows its frames one after the other: all of them are
// in it, as PNG in data URIs, and nothing is fetched.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

#include "tool/files/output.h"
#include "tool/files/y4m.h"
#include "tool/streams/sink.h"

namespace trv::tool {

// There is no room for another frame; those before it can be finished.
struct PageFull {};

// Takes RGB24 pictures. Puts them until the page has `most_bytes`, then throws PageFull; the first
// one always has room.
class Page : public FrameSink {
  public:
    Page(const std::string& output, bool force, std::string title, FrameRate rate,
         uint64_t most_bytes);

    void made(StreamFrame* frame) override;
    void put(const StreamFrame& frame) override;
    void finish() override;

    uint64_t frames() const { return frames_; }

  private:
    void write(std::string_view words);
    void begin(const Geometry& picture);
    [[noreturn]] void fail(int error) const;

    struct CloseFile {
        void operator()(FILE* file) const { std::fclose(file); }
    };

    std::string title_;
    FrameRate rate_;
    uint64_t most_bytes_, bytes_ = 0, frames_ = 0;
    Output output_;
    std::unique_ptr<FILE, CloseFile> file_;
};

}  // namespace trv::tool
