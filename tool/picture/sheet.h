// A sheet of labelled pictures side by side, as a BGR24 frame.
#pragma once

#include <string>

#include "tool/picture/frame.h"

namespace trv::tool {

// The size of a picture made smaller by whole steps until it is at most this large.
Geometry shrunk_geometry(const Geometry& picture, uint32_t most_width, uint32_t most_height);

// The picture (BGR24) at that size, each pixel the mean of what it stands for.
Frame shrunk(const Frame& picture, uint32_t most_width, uint32_t most_height);

class Sheet {
  public:
    // So many pictures side by side, none larger than this.
    Sheet(uint32_t picture_width, uint32_t picture_height, uint32_t places, uint32_t columns = 2);

    // Places count line by line. What is emphasised gets a frame in green.
    void put(uint32_t place, const Frame& picture, const std::string& label, bool emphasised) const;

    const Frame& frame() const { return frame_; }

  private:
    uint32_t columns_;
    uint32_t width_, height_;  // of a place, margins and label included
    Frame frame_;
};

}  // namespace trv::tool
