// A picture in memory, and the buffer by which the library knows it.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include "image/format/format.h"
#include "trvil/buffer.hpp"

namespace trv::tool {

struct Geometry {
    const Format* format;
    uint32_t width;
    uint32_t height;
    uint32_t stride;
    uint32_t packing = 0;  // TRW_PACKING_... of a dump that becomes the format; 0: none

    uint64_t line() const;
    std::string name() const;  // of the pixels
    // The last line needs no padding after it.
    uint64_t bytes() const { return uint64_t{stride} * (height - 1) + line(); }
};

// Without padding between lines.
Geometry tight(const Format& format, uint32_t width, uint32_t height);

class Frame {
  public:
    // Zeroed memory of its own. A little of it lies after the last line, because some conversions
    // read past the end of a line.
    explicit Frame(const Geometry& geometry);

    const Geometry& geometry() const { return geometry_; }
    uint64_t handle() const { return buffer_.handle(); }
    uint8_t* line(uint32_t y) const { return memory_.get() + size_t{geometry_.stride} * y; }

    void set_bayer(uint32_t method, Phase phase) const;

    // The same picture without padding between lines.
    Frame tightened() const;

    // The same memory for pixels of another format, whose lines are as far apart.
    Frame as(const Format& format) &&;

    // The same bytes as pixels of another format, for as long as the frame is there.
    trvil::Buffer view_as(const Format& format) const;

  private:
    struct Free {
        void operator()(void* memory) const { std::free(memory); }
    };

    using Memory = std::unique_ptr<uint8_t[], Free>;
    Frame(const Geometry& geometry, Memory memory);

    Geometry geometry_;
    Memory memory_;
    trvil::Buffer buffer_;
};

// A frame of this geometry in the memory of `used`, where that fits, and else in new memory.
Frame in_memory_of(std::optional<Frame> used, const Geometry& geometry);

// The same without padding between lines, itself where it has none.
Frame without_padding(Frame frame);

// What the bytes of a dump are read into: as they are, or where it is packed, a picture of bytes.
Geometry bytes_of(const Geometry& dump);

// Some lines of a packed dump, as a buffer.
trvil::Buffer packed_lines(const Frame& bytes, const Geometry& dump, uint32_t first,
                           uint32_t count);

// The picture of a packed dump, or some lines of it.
Frame unpack(const Frame& bytes, const Geometry& dump);
Frame unpack_lines(const Frame& bytes, const Geometry& dump, uint32_t first, uint32_t count);

}  // namespace trv::tool
