// Lists of checksums: for each frame of a conversion that of its bytes as they were read, and that
// of its bytes as they were written.
//
// A list is text of lines that end in a newline. The first is "# trvil checksums 1", and any that
// begins with "#" tells programs nothing else. Each other line is a frame, in words with a blank
// between:
//
//   index  input-sum output-sum  input-place input-bytes input-file  output-place output-bytes
//   output-file
//
// Sums are CRC-32C in eight hexadecimal digits, numbers decimal. A place is the offset of the first
// byte in the file, or "page" and the number of a page of a TIFF from 0, whose bytes are those of
// its strips. In names of files, which are relative to where the conversion ran, blanks, control
// characters and "%" are % and two hexadecimal digits; "-" is stdin or stdout, and "./-" a file.
#pragma once

#include <cstdint>
#include <fstream>
#include <optional>
#include <string>

namespace trv::tool {

struct FramePlace {
    std::string file;
    uint64_t offset = 0;           // of its first byte
    std::optional<uint64_t> page;  // of a TIFF, in place of an offset
    uint64_t bytes = 0;
};

struct FrameSum {
    FramePlace place;
    uint32_t sum = 0;
};

struct ChecksumLine {
    uint64_t index = 0;  // of the frame in its recording
    FrameSum input, output;
};

// With its newline.
std::string checksum_text(const ChecksumLine& line);

// The lines before those of frames.
std::string checksum_head();

class ChecksumReader {
  public:
    // "-" is stdin. Throws Failure when the list is missing or is none.
    explicit ChecksumReader(const std::string& path);

    // The next line of a frame; nothing at the end. Throws Failure where a line is none.
    std::optional<ChecksumLine> next();

  private:
    [[noreturn]] void fail(const std::string& why) const;
    bool read_line(std::string* line);

    std::string name_;
    std::ifstream file_;
    uint64_t number_ = 0;  // of the last line
};

}  // namespace trv::tool
