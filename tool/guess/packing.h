// How samples can lie in a dump, also in ways that no format of this library has.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace trv::tool::guess {

struct Packing {
    uint32_t bits;    // from one sample to the next
    bool high_first;  // the first sample lies in the highest bits; words have the high byte first
    uint32_t group_bytes;  // after which samples begin at a byte again
    const char* words;     // "16-bit words"

    uint64_t samples_in(uint64_t bytes) const { return bytes * 8 / bits; }
    uint64_t bytes_of(uint64_t samples) const { return (samples * bits + 7) / 8; }
};

inline constexpr Packing packings[] = {
    {8, false, 1, "bytes"},
    {16, false, 2, "16-bit words"},
    {16, true, 2, "16-bit words with the high byte first"},
    {10, false, 5, "packed 10-bit samples"},
    {12, false, 3, "packed 12-bit samples"},
    {12, true, 3, "packed 12-bit samples, high bits first"},
    {14, false, 7, "packed 14-bit samples"},
};

// Bytes after the last sample that sample_at may read.
inline constexpr size_t read_ahead = 3;

inline uint32_t sample_at(const Packing& packing, const uint8_t* line, uint64_t index) {
    const uint64_t bit = index * packing.bits;
    const uint8_t* at = line + bit / 8;
    const auto shift = static_cast<uint32_t>(bit % 8);
    const uint32_t mask = (1u << packing.bits) - 1;
    const uint32_t a = at[0], b = at[1], c = at[2];
    if (packing.high_first) return (a << 16 | b << 8 | c) >> (24 - packing.bits - shift) & mask;
    return (a | b << 8 | c << 16) >> shift & mask;
}

// What is looked at: the beginning of an input, with read_ahead zeros after it.
struct Dump {
    std::string name;
    std::vector<uint8_t> bytes;
    uint64_t known;   // bytes of the input that are here
    uint64_t length;  // of the whole input
};

}  // namespace trv::tool::guess
