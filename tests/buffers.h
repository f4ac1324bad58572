// Formats by their names, and buffers of them that are freed.
#pragma once

#include <stdexcept>
#include <string>

#include "image/format/format.h"
#include "trvil/buffer.hpp"

namespace test {

using trvil::Buffer;

inline const trv::Format& format_named(const std::string& name) {
    for (const trv::Format& format : trv::formats)
        if (name == format.name) return format;
    throw std::invalid_argument(name);
}

inline trvil::Format public_format(const trv::Format& format) {
    return trvil::Format{trv::whole_code(format)};
}

inline Buffer create(const trv::Format& format, uint32_t width, uint32_t height) {
    return Buffer::create(width, height, public_format(format));
}

// Lines that begin `packing_offset` pixels into `memory`: a view of wider ones.
inline Buffer wrap(const trv::Format& format, uint32_t width, uint32_t height, void* memory,
                   uint64_t size, uint32_t stride = 0, uint32_t packing_offset = 0) {
    Buffer whole =
        Buffer::wrap(memory, size, width + packing_offset, height, public_format(format), stride);
    return packing_offset == 0 ? std::move(whole) : whole.view(packing_offset, 0, width, height);
}

}  // namespace test
