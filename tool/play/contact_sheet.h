// A recording as one picture: some of its frames side by side, evenly spread.
#pragma once

#include <atomic>
#include <optional>
#include <string>
#include <vector>

#include "tool/streams/sink.h"

namespace trv::tool {

// Takes RGB24 pictures. However many there are, it keeps a few small ones.
class ContactSheet : public FrameSink {
  public:
    // `frames` are to come, as far as that is known.
    ContactSheet(std::string output, bool force, std::optional<uint64_t> frames);

    void made(StreamFrame* frame) override;
    void put(const StreamFrame& frame) override;
    void finish() override;

  private:
    struct Kept {
        uint64_t index;
        Frame picture;
    };

    std::string output_;
    bool force_;
    std::atomic<uint64_t> step_;  // every so manieth frame is kept
    std::vector<Kept> kept_;
};

}  // namespace trv::tool
