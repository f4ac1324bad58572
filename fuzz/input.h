// What the fuzz targets share: choices drawn from the input's bytes, and a way to stop.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace fuzz {

// Bytes from the front; zeros when there are no more.
class Input {
  public:
    Input(const uint8_t* data, size_t size) : data_(data), left_(size) {}

    uint8_t byte() {
        if (left_ == 0) return 0;
        --left_;
        return *data_++;
    }
    uint32_t word() {
        const uint32_t low = byte();
        return low | uint32_t{byte()} << 8;
    }
    uint32_t below(uint32_t end) { return (end <= 256 ? byte() : word()) % end; }
    uint32_t between(uint32_t first, uint32_t last) { return first + below(last - first + 1); }
    bool one_in(uint32_t n) { return below(n) == n - 1; }
    size_t left() const { return left_; }

    // What is left, over and over.
    void fill(uint8_t* to, size_t size) {
        if (left_ == 0) {
            std::memset(to, 0xA5, size);
            return;
        }
        for (size_t done = 0; done < size;) {
            const size_t part = size - done < left_ ? size - done : left_;
            std::memcpy(to + done, data_, part);
            done += part;
        }
    }

  private:
    const uint8_t* data_;
    size_t left_;
};

// A property that does not hold ends the program, with or without a sanitizer.
inline void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

}  // namespace fuzz
