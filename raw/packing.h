// The packings as a table, and where the bits of their samples lie.
#pragma once

#include <cstddef>
#include <cstdint>

namespace trv::raw {

// How the bits of a group are numbered; see trvil/packings.inc.
enum class Order : uint8_t { lsb, msb };

// What samples become.
enum class Target : uint8_t { words, yuv422 };

inline constexpr unsigned most_samples = 25;

struct Packing {
    const char* name;
    uint8_t code;
    uint8_t bits;
    Target target;
    uint8_t group;  // pixels in whole bytes
    uint8_t bytes;  // of a group
    Order order;
    uint8_t samples;              // of a group
    uint16_t high[most_samples];  // where the upper 8 bits of a sample begin
    uint16_t low[most_samples];   // where its other bits begin
};

// Not consteval: clang 14 crashes on it where the lambdas are in the table.
template <typename High, typename Low>
constexpr Packing packing(Packing p, High high, Low low) {
    p.samples = p.target == Target::yuv422 ? 4 : p.group;
    for (unsigned k = 0; k < p.samples; ++k) {
        p.high[k] = static_cast<uint16_t>(high(k));
        p.low[k] = static_cast<uint16_t>(low(k));
    }
    return p;
}

inline constexpr Packing packings[] = {
#define TRV_PACKING(code, name, bits, target, group, bytes, order, high, low)       \
    packing(                                                                        \
        {#name, code, bits, Target::target, group, bytes, Order::order, 0, {}, {}}, \
        []([[maybe_unused]] unsigned k) { return high; },                           \
        []([[maybe_unused]] unsigned k) { return low; }),
#include "trvil/packings.inc"
};

inline constexpr size_t packing_count = sizeof packings / sizeof packings[0];

constexpr const Packing* find_packing(uint32_t code) {
    return code - 1 < packing_count ? &packings[code - 1] : nullptr;
}

// A bit in a group, bit 0 of a byte being its lowest.
struct Place {
    unsigned byte;
    unsigned bit;
};

// Where bit `bit` of sample k is, bit 0 being the lowest of the sample.
[[gnu::always_inline]] constexpr Place place(const Packing& p, unsigned k, unsigned bit) {
    const unsigned others = p.bits - 8u;
    const bool is_high = bit >= others;
    const unsigned width = is_high ? 8 : others;
    const unsigned from_bottom = is_high ? bit - others : bit;
    const unsigned start = is_high ? p.high[k] : p.low[k];
    if (p.order == Order::lsb) {
        const unsigned at = start + from_bottom;
        return {at / 8, at % 8};
    }
    const unsigned at = start + width - 1 - from_bottom;
    return {at / 8, 7 - at % 8};
}

// Samples of the first `pixels` pixels of a group.
[[gnu::always_inline]] constexpr unsigned samples_of(const Packing& p, unsigned pixels) {
    return p.samples / p.group * pixels;
}

// Bytes of a group up to the last one with a bit of samples `from` to `to` - 1.
constexpr unsigned bytes_up_to(const Packing& p, unsigned from, unsigned to) {
    unsigned bytes = 0;
    for (unsigned k = from; k < to; ++k)
        for (unsigned bit = 0; bit < p.bits; ++bit) {
            const unsigned end = place(p, k, bit).byte + 1;
            if (end > bytes) bytes = end;
        }
    return bytes;
}

// Bytes of a line up to the last one with a bit of its samples; its first pixel is at place `first`
// of its group.
constexpr uint64_t line_bytes(const Packing& p, uint32_t first, uint64_t width) {
    if (width == 0) return 0;
    const uint64_t begin = first % p.group, end = begin + width;
    const uint64_t last_group = (end - 1) / p.group;
    const auto pixels = static_cast<unsigned>(end - last_group * p.group);
    const auto from = last_group == 0 ? static_cast<unsigned>(begin) : 0;
    return last_group * p.bytes + bytes_up_to(p, samples_of(p, from), samples_of(p, pixels));
}

// Every code is its row's number, and every bit of a group belongs to one sample at most.
consteval bool is_sound(const Packing& p) {
    bool taken[8 * 32] = {};
    if (p.bits < 8 || p.bits > 16 || p.samples > most_samples || p.bytes > 32) return false;
    for (unsigned k = 0; k < p.samples; ++k)
        for (unsigned bit = 0; bit < p.bits; ++bit) {
            const Place at = place(p, k, bit);
            if (at.byte >= p.bytes || taken[8 * at.byte + at.bit]) return false;
            taken[8 * at.byte + at.bit] = true;
        }
    return true;
}

consteval bool are_sound() {
    for (size_t i = 0; i < packing_count; ++i)
        if (packings[i].code != i + 1 || !is_sound(packings[i])) return false;
    return true;
}
static_assert(are_sound());

}  // namespace trv::raw
