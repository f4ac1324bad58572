// A sink that looks on, and lists the sums of what is read and written.
#pragma once

#include <memory>
#include <optional>

#include "tool/checksums/writer.h"
#include "tool/streams/sinks.h"

namespace trv::tool {

// The sum of a whole file. Throws Failure.
FrameSum sum_of_file(const std::string& path);

// Adds a line for each frame that the other sink puts to a job of the list.
class ChecksumSink : public FrameSink {
  public:
    ChecksumSink(std::unique_ptr<FrameSink> sink, const Target& target, ChecksumWriter* list,
                 size_t job);
    ~ChecksumSink() override;

    void arrived(StreamFrame* frame) override;
    void made(StreamFrame* frame) override;
    void put(const StreamFrame& frame) override;
    void finish() override;

  private:
    std::unique_ptr<FrameSink> sink_;
    Target target_;
    ChecksumWriter* list_;
    size_t job_;
    uint64_t frames_ = 0, offset_ = 0;
    bool finished_ = false;
    std::optional<ChecksumLine> first_page_;  // until a second one tells that it is a page
};

}  // namespace trv::tool
