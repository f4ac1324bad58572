// Text written into memory of the caller that may be too short for it.
#pragma once

#include <cstdint>

namespace trv::raw {

class Writer {
  public:
    // Null or a size of 0 takes no text at all.
    Writer(char* text, uint64_t size) : text_(size == 0 ? nullptr : text), size_(size) {
        if (text_ != nullptr) text_[0] = 0;
    }

    // Appends as printf does, cut to what fits; a terminator always follows.
    [[gnu::format(printf, 2, 3)]] void add(const char* format, ...);

    // Ends the line before, if there is one, and begins another: "warning: ...".
    void begin(const char* kind);

  private:
    char* text_;
    uint64_t size_;
    uint64_t length_ = 0;
};

}  // namespace trv::raw
