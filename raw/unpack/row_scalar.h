// The rows of the scalar level: sample after sample, field after field.
#pragma once

#include "raw/unpack/row.h"

namespace trv::TRV_LEVEL {
namespace {

// `width` bits of a group, 1 to 8, from bit `at` on. Reads no byte that has none of them.
template <raw::Order order>
inline uint32_t field(const uint8_t* group, unsigned at, unsigned width) {
    const uint8_t* byte = group + at / 8;
    const unsigned inside = at % 8, mask = (1u << width) - 1;
    const bool is_one_byte = inside + width <= 8;
    if constexpr (order == raw::Order::lsb) {
        const uint32_t low = uint32_t{byte[0]} >> inside;
        return (is_one_byte ? low : low | uint32_t{byte[1]} << (8 - inside)) & mask;
    }
    if (is_one_byte) return uint32_t{byte[0]} >> (8 - inside - width) & mask;
    return (uint32_t{byte[0]} << 8 | byte[1]) >> (16 - inside - width) & mask;
}

template <size_t P>
inline uint32_t sample(const uint8_t* group, unsigned k) {
    static constexpr raw::Packing p = raw::packings[P];
    const uint32_t high = field<p.order>(group, p.high[k], 8);
    if constexpr (p.bits == 8) return high;
    return high << (p.bits - 8) | field<p.order>(group, p.low[k], p.bits - 8);
}

// A pixel's one word, or its luminance and its share of the chrominance.
template <size_t P>
inline void pixel(const uint8_t* group, unsigned place, uint8_t* out) {
    if constexpr (raw::packings[P].target == raw::Target::yuv422) {
        out[0] = static_cast<uint8_t>(sample<P>(group, 2 * place));
        out[1] = static_cast<uint8_t>(sample<P>(group, 2 * place + 1));
    } else {
        const auto word = static_cast<uint16_t>(sample<P>(group, place));
        __builtin_memcpy(out, &word, sizeof word);
    }
}

template <size_t P>
void row(const raw::Line& line) {
    constexpr unsigned group = raw::packings[P].group, bytes = raw::packings[P].bytes;
    const uint8_t* in = line.source;
    unsigned place = line.first;
    for (uint32_t x = 0; x < line.width; ++x) {
        pixel<P>(in, place, line.destination + x * raw::pixel_bytes);
        if (++place == group) {
            place = 0;
            in += bytes;
        }
    }
}

}  // namespace
}  // namespace trv::TRV_LEVEL
