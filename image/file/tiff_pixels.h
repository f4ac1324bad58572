// The pixels of a TIFF file on their way to its stream.
#pragma once

#include <stdio.h>

#include <atomic>
#include <cstdint>

namespace trv::tiff {

// Room for pixels on their way to the stream. Each system call costs as much as several pages of
// pixels, and image calls allocate nothing: so one writer at a time has a large room that is always
// there, and others that write meanwhile have a small one on their stack. Both are whole pages and
// whole pixels of 1, 2 and 3 bytes.
class Room {
  public:
    Room() : shared_(!taken.test_and_set(std::memory_order_acquire)) {}
    ~Room() {
        if (shared_) taken.clear(std::memory_order_release);
    }
    Room(const Room&) = delete;
    Room& operator=(const Room&) = delete;

    uint8_t* bytes() { return shared_ ? large : small_; }
    uint32_t size() const { return shared_ ? sizeof large : sizeof small_; }

  private:
    static inline constinit std::atomic_flag taken;
    static inline uint8_t large[192 * 1024];

    bool shared_;
    uint8_t small_[12 * 1024];
};

// Collects pixels of many lines, or of part of one. Whole pages go past the stream's own buffer
// into one system call, if that is empty when the pixels begin.
class Pixels {
  public:
    explicit Pixels(FILE* file) : file_(file) { fflush(file_); }
    ~Pixels() { put(); }
    Pixels(const Pixels&) = delete;
    Pixels& operator=(const Pixels&) = delete;

    // `make` writes the file's bytes of some pixels of a line.
    template <typename Make>
    void add(const uint8_t* line, uint32_t width, uint32_t pixel_bytes, const Make& make) {
        while (width != 0) {
            const uint32_t free = (room_.size() - used_) / pixel_bytes;
            const uint32_t count = width < free ? width : free;
            make(line, room_.bytes() + used_, count);
            line += size_t{pixel_bytes} * count;
            width -= count;
            used_ += pixel_bytes * count;
            if (used_ == room_.size()) put();
        }
    }

  private:
    void put() {
        fwrite(room_.bytes(), 1, used_, file_);
        used_ = 0;
    }

    FILE* file_;
    uint32_t used_ = 0;
    Room room_;
};

}  // namespace trv::tiff
