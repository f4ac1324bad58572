// How the pixels of each format lie in memory: plain load and store, one pixel at a time.
#pragma once

#include <cstddef>
#include <cstdint>

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

struct Bgr24 {
    static constexpr size_t bytes = 3;
    static void store(uint8_t* out, const Rgb& c) {
        out[0] = static_cast<uint8_t>(c.blue);
        out[1] = static_cast<uint8_t>(c.green);
        out[2] = static_cast<uint8_t>(c.red);
    }
};

// The fourth byte is not written.
struct Bgrx32 {
    static constexpr size_t bytes = 4;
    static void store(uint8_t* out, const Rgb& c) { Bgr24::store(out, c); }
};

// Deliberate: red and green are masked and blue is not, so a sample with bits above its depth
// spills from blue into green.
struct Rgb16 {
    static constexpr size_t bytes = 2;
    static void store(uint8_t* out, const Rgb& c) {
        layout::store(
            out, static_cast<uint16_t>((c.red & 0xF8) << 8 | (c.green & 0xFC) << 3 | c.blue >> 3));
    }
};

}  // namespace trv::layout
