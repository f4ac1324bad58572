// The pixels of a TIFF file on their way to the file.
#pragma once

#include <errno.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>

namespace trv::tiff {

// Room for pixels on their way to the file. Each system call costs as much as several pages of
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

// Collects pixels of many lines, or of part of one, for a few large writes. They go past the
// stream, whose buffer is empty: a stream does not tell which bytes of a block it has lost.
class Pixels {
  public:
    explicit Pixels(int file) : file_(file) {}
    Pixels(const Pixels&) = delete;
    Pixels& operator=(const Pixels&) = delete;

    // `make` writes the file's bytes of some pixels of a line. False when the file took less than
    // it was given; no pixels are to follow then.
    template <typename Make>
    bool add(const uint8_t* line, uint32_t width, uint32_t pixel_bytes, const Make& make) {
        while (width != 0) {
            const uint32_t free = (room_.size() - used_) / pixel_bytes;
            const uint32_t count = width < free ? width : free;
            make(line, room_.bytes() + used_, count);
            line += size_t{pixel_bytes} * count;
            width -= count;
            used_ += pixel_bytes * count;
            if (used_ == room_.size() && !put()) return false;
        }
        return true;
    }

    // Hands on what is left. A write that fails is tried once more at the same byte, or as often as
    // signals interrupt it.
    bool put() {
        const uint8_t* from = room_.bytes();
        for (int failed = 0; used_ != 0 && failed < 2;) {
            const ssize_t taken = write(file_, from, used_);
            if (taken > 0) {
                from += taken;
                used_ -= static_cast<uint32_t>(taken);
                failed = 0;
            } else if (taken == 0 || errno != EINTR) {
                ++failed;
            }
        }
        return used_ == 0;
    }

  private:
    int file_;
    uint32_t used_ = 0;
    Room room_;
};

}  // namespace trv::tiff
