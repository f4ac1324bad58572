// Colour sources into words: 5-6-5, 5-5-5 and 10-12-10 bits.
#pragma once

#include "image/direct/rule.h"

namespace trv::TRV_LEVEL {
namespace {

// Three 8-bit channels into a word; the numbers are their bytes in the source pixel.
template <int Source, int Top, int Green, int Bottom, bool SixGreen>
struct ColourWord {
    static void pixel(const uint8_t* line, size_t x, uint8_t* out, const Line&) {
        const uint8_t* in = line + x * Source;
        store16(out, word_of<SixGreen>(in[Top], in[Green], in[Bottom]));
    }
};

// Deliberate: of 48 bits, a 15- or 16-bit word keeps one channel in its low bits and one flag that
// tells whether another channel is not zero. Numbers are the channels' first bytes.
template <int Kept, int Other>
struct FlaggedChannel {
    static void pixel(const uint8_t* line, size_t x, uint8_t* out, const Line& job) {
        const uint8_t* in = line + x * 6;
        const uint32_t flag = load16(in + Other) != 0 ? job.flag : 0;
        store16(out, load16(in + Kept) >> (job.shift + 3) | flag);
    }
};

// 8-bit channels into a 30-bit word, unscaled. The map brings them to bytes 0, 1 and 2 of a dword.
template <typename M>
struct Thirty {
    static void pixel(const uint8_t* line, size_t x, uint8_t* out, const Line&) {
        uint8_t channel[4];
        put_mapped<M>(channel, line + x * M::source);
        store32(out, channel[0] | uint32_t{channel[1]} << 10 | uint32_t{channel[2]} << 22);
    }
};

// 16-bit channels into a 30-bit word: each field takes the top bits of the significant range.
// Numbers are the channels' first bytes in a pixel of Source bytes; the middle field has 12 bits.
template <int Source, int Low, int Middle, int High>
struct DeepThirty {
    static void pixel(const uint8_t* line, size_t x, uint8_t* out, const Line& job) {
        const uint8_t* in = line + x * Source;
        const unsigned down = job.shift - 2;
        store32(out, (load16(in + Low) >> down & 0x3FF) |
                         (load16(in + Middle) << 2 >> down & 0xFFF) << 10 |
                         load16(in + High) >> down << 22);
    }
};

// A 30-bit word has 10 bits of blue, 12 of green and 10 of red; the top 8 of each are taken.
inline uint32_t bgr_of_thirty(uint32_t w) {
    return (w >> 2 & 0xFF) | (w >> 6 & 0xFF00) | (w >> 8 & 0xFF0000);
}

template <typename M>
struct ThirtyBytes {
    static void pixel(const uint8_t* line, size_t x, uint8_t* out, const Line&) {
        uint8_t in[4];
        store32(in, bgr_of_thirty(load32(line + 4 * x)));
        put_mapped<M>(out, in);
    }
};

template <bool RedOnTop, bool SixGreen>
struct ThirtyWord {
    static void pixel(const uint8_t* line, size_t x, uint8_t* out, const Line&) {
        const uint32_t c = bgr_of_thirty(load32(line + 4 * x));
        const uint32_t blue = c & 0xFF, green = c >> 8 & 0xFF, red = c >> 16;
        store16(out, word_of<SixGreen>(RedOnTop ? red : blue, green, RedOnTop ? blue : red));
    }
};

// Red and blue change places, bits 10 to 21 stay.
struct ThirtyExchanged {
    static void pixel(const uint8_t* line, size_t x, uint8_t* out, const Line&) {
        const uint32_t w = load32(line + 4 * x);
        store32(out, (w & 0x3FFC00) | w << 22 | w >> 22);
    }
};

// Three words of 10 bits: blue, the top of green, red.
struct ThirtyToBgr48 {
    static void pixel(const uint8_t* line, size_t x, uint8_t* out, const Line&) {
        const uint32_t w = load32(line + 4 * x);
        store16(out, w & 0x3FF);
        store16(out + 2, (w & 0x3FFC00) >> 12);
        store16(out + 4, w >> 22);
    }
};

// Deliberate: green and blue come from the following pixel, so the last pixel of a line reads the
// word after the line.
struct ThirtyToRgb48 {
    static void pixel(const uint8_t* line, size_t x, uint8_t* out, const Line&) {
        const uint32_t w = load32(line + 4 * x), next = load32(line + 4 * x + 4);
        store16(out, w >> 22);
        store16(out + 2, (next & 0x3FFC00) >> 12);
        store16(out + 4, next & 0x3FF);
    }
};

}  // namespace
}  // namespace trv::TRV_LEVEL
