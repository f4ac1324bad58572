// What an image function learns about a buffer. These are the only lines that ask the buffer
// library.
#pragma once

#include <cstdint>

#include "trvil/tbl.h"

namespace trv {

using Handle = uint64_t;

class Buffer {
  public:
    explicit Buffer(Handle handle) : handle_(handle) {}

    bool present() const { return ask<uint64_t>(TBL_PARAMETER_PRESENT) != 0; }
    uint8_t* address() const {
        return reinterpret_cast<uint8_t*>(ask<uintptr_t>(TBL_PARAMETER_ADDRESS));
    }
    uint32_t width() const { return ask<uint32_t>(TBL_PARAMETER_WIDTH); }
    uint32_t height() const { return ask<uint32_t>(TBL_PARAMETER_HEIGHT); }
    uint32_t stride() const { return ask<uint32_t>(TBL_PARAMETER_STRIDE); }
    uint32_t format() const { return ask<uint32_t>(TBL_PARAMETER_FORMAT); }
    uint32_t bayer_method() const { return ask<uint32_t>(TBL_PARAMETER_BAYER_METHOD); }
    uint32_t bayer_phase() const { return ask<uint32_t>(TBL_PARAMETER_BAYER_PHASE); }
    uint32_t packing_offset() const { return ask<uint32_t>(TBL_PARAMETER_PACKING_OFFSET); }

    // The stride together with the buffer library's answer to the query, which the raw file writer
    // returns; everywhere else the value alone counts.
    uint32_t stride(uint32_t* answer) const {
        uint32_t value = 0;
        *answer = TBL_BufferParameterGet(handle_, TBL_PARAMETER_STRIDE, &value);
        return value;
    }

  private:
    // The slot is cleared first, so a parameter that the buffer library does not fill reads as
    // zero.
    template <typename T>
    T ask(uint32_t id) const {
        T value = 0;
        TBL_BufferParameterGet(handle_, id, &value);
        return value;
    }

    Handle handle_;
};

}  // namespace trv
