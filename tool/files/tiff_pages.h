// TIFF files of many pictures, a page each.
#pragma once

#include <cstdio>

#include "tool/files/tiff_stream.h"
#include "tool/picture/frame.h"

namespace trv::tool {

// What a page takes beside its pixels, at the most.
inline constexpr uint64_t page_slack = 4096;

// The lines of a picture that a TIFF can hold, as a page has them: grey, or red, green and blue;
// words with the high byte first.
void page_bytes(const Frame& frame, std::vector<uint8_t>* bytes);

class TiffPages {
  public:
    // To a stream that can be read and written, which the caller closes afterwards; `big` for files
    // that may pass 4 GiB. Throws Failure.
    TiffPages(FILE* file, bool big);

    // A picture of this size and format, by what page_bytes made of it. What the stream does not
    // take, it remembers. Throws Failure with Exit::output.
    void add(const Geometry& picture, const std::vector<uint8_t>& bytes);

  private:
    FILE* file_;
    Tiff tiff_;
};

}  // namespace trv::tool
