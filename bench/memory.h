// Memory of pictures, and buffers of it.
#pragma once

#include <cstdlib>
#include <memory>

#include "image/format/format.h"
#include "trvil/buffer.hpp"

namespace bench {

struct Size {
    uint32_t width, height;
};

inline uint64_t bytes_of(const trv::Format& format, Size size) {
    return trv::line_bytes(format, size.width) * size.height;
}

// Whole pages full of noise, at least 64 bytes more than asked for: some read and write past the
// end.
class Memory {
  public:
    explicit Memory(uint64_t bytes) {
        const uint64_t pages = (bytes + 64 + 4095) / 4096 * 4096;
        data_.reset(static_cast<uint8_t*>(std::aligned_alloc(4096, pages)));
        if (data_ == nullptr) std::abort();
        for (uint64_t i = 0; i < pages; ++i)
            data_.get()[i] = static_cast<uint8_t>(i * 2654435761u >> 13);
    }
    uint8_t* data() const { return data_.get(); }

  private:
    struct Free {
        void operator()(uint8_t* memory) const { std::free(memory); }
    };
    std::unique_ptr<uint8_t, Free> data_;
};

// A buffer of tight lines, of "line" bytes each where the format does not say it.
inline trvil::Buffer buffer_of(const trv::Format& format, Size size, uint8_t* memory,
                               uint64_t line = 0) {
    if (line == 0) line = trv::line_bytes(format, size.width);
    const auto code = trv::whole_code(format);
    return trvil::Buffer::wrap(memory, line * size.height + 64, size.width, size.height,
                               static_cast<trvil::Format>(code), static_cast<uint32_t>(line));
}

}  // namespace bench
