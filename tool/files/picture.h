// Picture files from frames in memory.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "tool/cli/report.h"
#include "tool/files/kind.h"
#include "tool/files/output.h"
#include "tool/picture/frame.h"
#include "tool/picture/samples.h"

namespace trv::tool {

// Writes and publishes. Throws Failure, and then leaves nothing behind.
void write_picture(const Frame& frame, Kind kind, Output* output, Progress* progress);

// The same without padding between lines, to a file or "-", and says how to read a raw file.
void put_picture(Frame frame, Kind kind, const std::string& target, bool force, Progress* progress);

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

struct CloseFile {
    void operator()(FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

// Throw Failure with Exit::output.
void write_png(const Frame& frame, FILE* file, Progress* progress);
void write_pnm(const Frame& frame, FILE* file);

}  // namespace trv::tool
