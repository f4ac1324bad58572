// How the pixels of each format lie in memory: plain load and store, one pixel at a time.
#pragma once

#include <cstddef>
#include <cstdint>

#include "image/format/format.h"

namespace trv::layout {

template <typename Word>
inline Word load(const uint8_t* at) {
    Word word;
    __builtin_memcpy(&word, at, sizeof word);
    return word;
}

template <typename Word>
inline void store(uint8_t* at, Word word) {
    __builtin_memcpy(at, &word, sizeof word);
}

// Channel values are 8 bits wide; what lies above them is cut off, except where a store says so.
struct Rgb {
    uint32_t red;
    uint32_t green;
    uint32_t blue;
};

// Channels of a byte each. A pad byte is not written.
template <Code C>
struct Bytes {
    static constexpr size_t bytes = format_of(C).stored / 8;

    static constexpr size_t place(Channel channel) {
        return find_field(format_of(C), channel)->bit / 8;
    }
    static void store(uint8_t* out, const Rgb& c) {
        out[place(Channel::B)] = static_cast<uint8_t>(c.blue);
        out[place(Channel::G)] = static_cast<uint8_t>(c.green);
        out[place(Channel::R)] = static_cast<uint8_t>(c.red);
    }
};

using Bgr24 = Bytes<Code::BGR24>;
using Bgrx32 = Bytes<Code::BGRX32>;

// 5-6-5 and 5-5-5 words of 8-bit channels, named by the field that lies on top. Deliberate: the
// bottom one is not masked, so a sample with bits above its depth spills into green. Always
// inlined: no level may leave a copy behind for others.
template <bool SixGreen>
[[gnu::always_inline]] inline uint32_t word_of(uint32_t top, uint32_t green, uint32_t bottom) {
    return SixGreen ? (top & 0xF8) << 8 | (green & 0xFC) << 3 | bottom >> 3
                    : (top & 0xF8) << 7 | (green & 0xF8) << 2 | bottom >> 3;
}

struct Rgb16 {
    static constexpr size_t bytes = format_of(Code::RGB16).stored / 8;

    static void store(uint8_t* out, const Rgb& c) {
        layout::store(out, static_cast<uint16_t>(word_of<true>(c.red, c.green, c.blue)));
    }
};

}  // namespace trv::layout
