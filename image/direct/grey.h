// Grey sources: one 8-bit value per pixel, however it is stored.
#pragma once

#include "image/direct/rule.h"

namespace trv::TRV_LEVEL {
namespace {

struct Grey8 {
    static uint32_t value(const uint8_t* line, size_t x, const Line&) { return line[x]; }
};

// The low 8 bits of what remains above the shift, whatever lies above the significant bits.
struct Grey16 {
    static uint32_t value(const uint8_t* line, size_t x, const Line& job) {
        return load16(line + 2 * x) >> job.shift & 0xFF;
    }
};

// Grey of 8 bits into words, three bytes, or four bytes; Grey says where it is read.
template <typename Grey, bool SixGreen>
struct GreyWord {
    static void pixel(const uint8_t* line, size_t x, uint8_t* out, const Line& job) {
        const uint32_t v = Grey::value(line, x, job);
        store16(out, word_of<SixGreen>(v, v, v));
    }
};

template <typename Grey>
struct GreyThree {
    static void pixel(const uint8_t* line, size_t x, uint8_t* out, const Line& job) {
        out[0] = out[1] = out[2] = static_cast<uint8_t>(Grey::value(line, x, job));
    }
};

template <typename Grey>
struct GreyFour {
    static void pixel(const uint8_t* line, size_t x, uint8_t* out, const Line& job) {
        store32(out, Grey::value(line, x, job) * 0x01010101);
    }
};

}  // namespace
}  // namespace trv::TRV_LEVEL
