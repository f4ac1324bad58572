// How samples can lie in a dump: in bytes, in words, or as a packing of the raw library has them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "raw/packing.h"
#include "trvil/raw.h"

namespace trv::tool::guess {

using Order = raw::Order;

struct Packing {
    const char* words;   // "16-bit words"; null where the name of the packing says it
    raw::Packing row;    // its code is 0 where no packing is needed to read it
    uint8_t unused[32];  // of each byte of a group, the bits that no sample has

    // Samples whose bits are all in so many bytes of a line.
    uint64_t samples_in(uint64_t bytes) const {
        const uint64_t groups = bytes / row.bytes;
        unsigned more = 0;
        while (more + 1u < row.group &&
               raw::bytes_up_to(row, 0, more + 1) <= bytes - groups * row.bytes)
            ++more;
        return groups * row.group + more;
    }
    uint64_t bytes_of(uint64_t samples) const { return raw::line_bytes(row, 0, samples); }

    bool is_words() const { return row.bits == 16; }
    bool has_unused_bits() const {
        for (const uint8_t bits : unused)
            if (bits != 0) return true;
        return false;
    }
};

constexpr Packing make_packing(const char* words, const raw::Packing& row) {
    Packing packing{words, row, {}};
    for (unsigned i = 0; i < row.bytes; ++i) packing.unused[i] = 0xFF;
    for (unsigned k = 0; k < row.samples; ++k)
        for (unsigned bit = 0; bit < row.bits; ++bit) {
            const raw::Place at = raw::place(row, k, bit);
            packing.unused[at.byte] &= static_cast<uint8_t>(~(1u << at.bit));
        }
    return packing;
}

constexpr Packing make_packing(const char* name) {
    for (const raw::Packing& row : raw::packings)
        if (std::string_view(row.name) == name) return make_packing(nullptr, row);
    return {};
}

constexpr raw::Packing whole_bytes{"", 0, 8, raw::Target::words, 1, 1, Order::lsb, 1, {0}, {0}};
constexpr raw::Packing whole_words{"", 0, 16, raw::Target::words, 1, 2, Order::lsb, 1, {8}, {0}};

// All that samples can be read by. Words of fewer bits are whole words, told apart by the bits in
// use; 4:2:2 is a pattern of bytes.
inline constexpr Packing packings[] = {
    make_packing("bytes", whole_bytes),
    make_packing("16-bit words", whole_words),
    make_packing("16-bit words with the high byte first", raw::packings[TRW_PACKING_16be - 1]),
    make_packing("10p"),
    make_packing("12p"),
    make_packing("14p"),
    make_packing("10pmsb"),
    make_packing("12pmsb"),
    make_packing("14pmsb"),
    make_packing("10Packed"),
    make_packing("12Packed"),
    make_packing("10g40"),
    make_packing("12g24"),
    make_packing("RAW14"),
    make_packing("10ipu3"),
};

// Bytes after the last sample that may be read.
inline constexpr size_t read_ahead = 3;

inline uint32_t bits_at(Order order, const uint8_t* group, uint32_t first, uint32_t count) {
    const uint8_t* at = group + first / 8;
    const uint32_t shift = first % 8, mask = (1u << count) - 1, a = at[0], b = at[1];
    return order == Order::lsb ? (a | b << 8) >> shift & mask
                               : (a << 8 | b) >> (16 - count - shift) & mask;
}

// Sample k of a group.
inline uint32_t sample_of(const raw::Packing& row, const uint8_t* group, size_t k) {
    const uint32_t others = row.bits - 8u;
    return bits_at(row.order, group, row.high[k], 8) << others |
           bits_at(row.order, group, row.low[k], others);
}

inline uint32_t sample_at(const Packing& packing, const uint8_t* line, uint64_t index) {
    const raw::Packing& row = packing.row;
    return sample_of(row, line + index / row.group * row.bytes, index % row.group);
}

// Calls visit(sample) for some samples of a line, in order.
template <typename Visit>
void for_each_sample(const Packing& packing, const uint8_t* line, uint64_t first, uint64_t count,
                     Visit visit) {
    const raw::Packing& row = packing.row;
    const uint8_t* group = line + first / row.group * row.bytes;
    size_t k = first % row.group;
    for (uint64_t i = 0; i < count; ++i) {
        visit(sample_of(row, group, k));
        if (++k == row.group) {
            k = 0;
            group += row.bytes;
        }
    }
}

// What is looked at: the beginning of an input, with read_ahead zeros after it.
struct Dump {
    std::string name;
    std::vector<uint8_t> bytes;
    uint64_t known;   // bytes of the input that are here
    uint64_t length;  // of the whole input
};

}  // namespace trv::tool::guess
