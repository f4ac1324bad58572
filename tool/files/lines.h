// The samples of a picture, line by line, as picture files have them.
#pragma once

#include <vector>

#include "tool/picture/frame.h"
#include "tool/picture/samples.h"

namespace trv::tool {

// The lines of a picture as PNG and PNM files have them: grey, or red, green and blue; words with
// the high byte first.
class PictureLines {
  public:
    explicit PictureLines(const Frame& frame);
    bool is_grey() const { return samples_ == 1; }
    uint32_t bits() const { return layout_.bits; }
    const uint8_t* get(uint32_t y);
    size_t bytes() const { return line_.size(); }

  private:
    const Frame& frame_;
    SampleLayout layout_;
    uint32_t samples_;
    uint32_t places_[3];
    std::vector<uint8_t> line_;
};

}  // namespace trv::tool
