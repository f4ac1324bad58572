// The kinds of direct conversion. Each is a type; its `pixel` is the rule, one pixel at a time, and
// what the vector loops of image/direct/row_vec.h do must come to the same bytes.
//
//   pixel(source line, pixel number, address of the destination pixel, line)
#pragma once

#include <utility>

#include "image/direct/row.h"
#include "image/format/layout.h"
#include "image/simd/map.h"

namespace trv::TRV_LEVEL {
namespace {

using Line = direct::Line;
using layout::word_of;

// Loads and stores of the level's own: those of image/format/layout.h would be shared between
// levels.

inline uint32_t load16(const uint8_t* at) {
    uint16_t word;
    __builtin_memcpy(&word, at, sizeof word);
    return word;
}

inline uint32_t load32(const uint8_t* at) {
    uint32_t word;
    __builtin_memcpy(&word, at, sizeof word);
    return word;
}

inline void store16(uint8_t* at, uint32_t value) {
    const auto word = static_cast<uint16_t>(value);
    __builtin_memcpy(at, &word, sizeof word);
}

inline void store32(uint8_t* at, uint32_t word) {
    __builtin_memcpy(at, &word, sizeof word);
}

template <typename M, int I>
inline void put_byte(uint8_t* out, const uint8_t* in) {
    constexpr int at = M::at(I);
    if constexpr (at >= 0)
        out[I] = in[at];
    else if constexpr (at == zero)
        out[I] = 0;
}

template <typename M, int... I>
inline void put_bytes(uint8_t* out, const uint8_t* in, std::integer_sequence<int, I...>) {
    (put_byte<M, I>(out, in), ...);
}

template <typename M>
inline void put_mapped(uint8_t* out, const uint8_t* in) {
    put_bytes<M>(out, in, std::make_integer_sequence<int, M::destination>{});
}

// Bytes change places, are repeated, or give way to zeros.
template <typename M>
struct Bytes {
    static void pixel(const uint8_t* line, size_t x, uint8_t* out, const Line&) {
        uint8_t in[M::source];
        __builtin_memcpy(in, line + x * M::source, M::source);
        put_mapped<M>(out, in);
    }
};

// The same after every 16-bit word was narrowed to its top 8 bits; the map takes their low bytes.
template <typename M>
struct NarrowBytes {
    static void pixel(const uint8_t* line, size_t x, uint8_t* out, const Line& job) {
        uint8_t in[M::source];
        for (size_t i = 0; i < M::source; i += 2)
            store16(in + i, load16(line + x * M::source + i) >> job.shift);
        put_mapped<M>(out, in);
    }
};

}  // namespace
}  // namespace trv::TRV_LEVEL
