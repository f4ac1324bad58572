// The packings once more, one pixel at a time and by name, as their documents show them. Shares no
// code with the library.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace reference {

// `count` bits from bit `first` of a stream whose bytes are filled from their lowest bit, or from
// their highest; bit by bit.
inline uint32_t bits_from_lowest(const uint8_t* line, size_t first, unsigned count) {
    uint32_t value = 0;
    for (unsigned i = 0; i < count; ++i)
        value |= (uint32_t{line[(first + i) / 8]} >> (first + i) % 8 & 1u) << i;
    return value;
}

inline uint32_t bits_from_highest(const uint8_t* line, size_t first, unsigned count) {
    uint32_t value = 0;
    for (unsigned i = 0; i < count; ++i)
        value = value << 1 | (uint32_t{line[(first + i) / 8]} >> (7 - (first + i) % 8) & 1u);
    return value;
}

inline uint32_t raw14(const uint8_t* g, size_t k) {
    const uint32_t high = uint32_t{g[k]} << 6;
    switch (k) {
        case 0:
            return high | (g[4] & 0x3Fu);
        case 1:
            return high | (g[5] & 0x0Fu) << 2 | g[4] >> 6;
        case 2:
            return high | (g[6] & 0x03u) << 4 | g[5] >> 4;
        default:
            return high | g[6] >> 2;
    }
}

// Value of pixel x of a line that begins with a group.
inline uint32_t packed_value(const std::string& packing, const uint8_t* line, size_t x) {
    const unsigned bits = static_cast<unsigned>(std::atoi(packing.c_str()));  // 0: says it later
    const uint8_t* pair = line + x / 2 * 3;
    const uint8_t* four = line + x / 4 * 5;
    const uint8_t* word = line + 2 * x;
    const auto ends = [&](const std::string& tail) {
        return packing.size() > tail.size() &&
               packing.compare(packing.size() - tail.size(), tail.size(), tail) == 0;
    };
    if (packing == "10Packed")
        return x % 2 == 0 ? uint32_t{pair[0]} << 2 | (pair[1] & 3u)
                          : uint32_t{pair[2]} << 2 | (pair[1] >> 4 & 3u);
    if (packing == "12Packed")
        return x % 2 == 0 ? uint32_t{pair[0]} << 4 | (pair[1] & 15u)
                          : uint32_t{pair[2]} << 4 | pair[1] >> 4;
    if (packing == "10g40" || packing == "RAW10")
        return uint32_t{four[x % 4]} << 2 | (four[4] >> 2 * (x % 4) & 3u);
    if (packing == "12g24" || packing == "RAW12")
        return uint32_t{pair[x % 2]} << 4 | (pair[2] >> 4 * (x % 2) & 15u);
    if (packing == "RAW14") return raw14(line + x / 4 * 7, x % 4);
    if (packing == "10ipu3") return bits_from_lowest(line + x / 25 * 32, x % 25 * 10, 10);
    if (ends("pmsb")) return bits_from_highest(line, x * bits, bits);
    if (ends("msble")) return (word[0] | uint32_t{word[1]} << 8) >> (16 - bits);
    if (ends("msbbe")) return (word[1] | uint32_t{word[0]} << 8) >> (16 - bits);
    if (ends("be")) return (word[1] | uint32_t{word[0]} << 8) & ((1u << bits) - 1);
    if (ends("p")) return bits_from_lowest(line, x * bits, bits);
    std::abort();
}

// The two bytes of pixel x: Y, and U of an even or V of an odd pixel.
inline uint32_t chroma_value(const std::string& packing, const uint8_t* line, size_t x) {
    const uint8_t* group = line + x / 2 * 4;
    const auto at = [&](char sample) { return uint32_t{group[packing.find(sample)]}; };
    const size_t second = packing.find('Y', packing.find('Y') + 1);
    const uint32_t y = x % 2 == 0 ? at('Y') : group[second];
    return y | at(x % 2 == 0 ? 'U' : 'V') << 8;
}

// Pixel x of a line whose first pixel is at place `first` of its group, low byte first in memory.
inline uint32_t unpacked(const std::string& packing, const uint8_t* line, size_t first, size_t x) {
    return packing.size() == 4 && packing.find('Y') != std::string::npos
               ? chroma_value(packing, line, x)
               : packed_value(packing, line, first + x);
}

}  // namespace reference
