// Frames for a benchmark: one that stays in cache (warm), or a ring that never does (cold).
#pragma once

#include <cstdlib>
#include <cstring>
#include <vector>

#include "image/format/format.h"
#include "trvil/tbl.h"

namespace bench {

struct Size {
    uint32_t width, height;
};

class Frame {
  public:
    Frame(const trv::Format& format, Size size) {
        const uint32_t code = trv::format_prefix + static_cast<uint32_t>(format.code);
        const uint64_t line = trv::line_bytes(format, size.width);
        bytes_ = line * size.height;
        memory_ =
            static_cast<uint8_t*>(std::aligned_alloc(4096, (bytes_ + 64 + 4095) / 4096 * 4096));
        for (uint64_t i = 0; i < bytes_ + 64; ++i)
            memory_[i] = static_cast<uint8_t>(i * 2654435761u >> 13);
        TBS_BufferWrap(&handle_, size.width, size.height, code, memory_, bytes_ + 64,
                       static_cast<uint32_t>(line), nullptr, nullptr);
    }
    ~Frame() {
        TBS_BufferRelease(&handle_);
        std::free(memory_);
    }
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

    uint64_t handle() const { return handle_; }
    uint8_t* memory() const { return memory_; }
    uint64_t bytes() const { return bytes_; }

  private:
    uint64_t handle_ = 0, bytes_ = 0;
    uint8_t* memory_ = nullptr;
};

}  // namespace bench
