// Packed samples: several pixels in a whole number of bytes.
#pragma once

#include "image/direct/rule.h"

namespace trv::TRV_LEVEL {
namespace {

// 8 bits of a stream of bytes, least significant bits first. Reads no byte they do not touch.
inline uint32_t byte_at_bit(const uint8_t* line, size_t bit) {
    const uint8_t* at = line + bit / 8;
    const unsigned inside = bit % 8;
    const uint32_t low = uint32_t{at[0]} >> inside;
    return inside == 0 ? low : (low | uint32_t{at[1]} << (8 - inside)) & 0xFF;
}

// Least significant first: pixel k of a line starts at bit k * Bits.
template <int Bits, int Group>
struct Packed {
    static constexpr int group = Group;
    static constexpr int group_bytes = Group * Bits / 8;
    // Deliberate: of 12 bits the low 8 are taken, of 10 and 14 the top 8. Pictures made from 12-bit
    // samples this way are noise; the way over 16-bit words is the one to take.
    static constexpr int first_bit = Bits == 12 ? 0 : Bits - 8;

    static uint32_t value(const uint8_t* line, size_t x, const Line& job) {
        const size_t pixel = x + job.packing_offset % Group;
        return byte_at_bit(line, pixel * Bits + first_bit);
    }
};

// Most significant first, two pixels in three bytes; their top 8 bits.
struct Packed12Msb {
    static constexpr int group = 2;
    static constexpr int group_bytes = 3;
    static uint32_t value(const uint8_t* line, size_t x, const Line&) {
        const uint8_t* in = line + x / 2 * 3;
        return x % 2 == 0 ? in[0] : (uint32_t{in[1]} << 4 | in[2] >> 4) & 0xFF;
    }
};

// Samples into 16-bit words. Deliberate: the packing offset is not looked at, and whole groups are
// written, so up to three words land after a width that is no multiple of the group.
template <int Bits, int Group>
struct Unpacked {
    static constexpr int group = Group;
    static constexpr int group_bytes = Group * Bits / 8;
    static void pixel(const uint8_t* line, size_t x, uint8_t* out, const Line&) {
        const size_t bit = x * Bits;
        const uint32_t low = byte_at_bit(line, bit);
        const uint32_t high = byte_at_bit(line, bit + Bits - 8);
        store16(out, low | high << (Bits - 8));
    }
};

}  // namespace
}  // namespace trv::TRV_LEVEL
