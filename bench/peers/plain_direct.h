// Plain loops for direct conversions: a pixel, or a group of packed pixels, at a time.
#pragma once

#include <cstring>

#include "bench/peers/candidate.h"

#ifdef __BMI2__
#include <immintrin.h>
#endif

namespace peers::plain {

using Convert = void (*)(const uint8_t* from, uint8_t* to, Size size);

inline uint32_t word_at(const uint8_t* at, size_t i) {
    uint16_t word;
    std::memcpy(&word, at + 2 * i, 2);
    return word;
}

template <typename Word>
inline void put(uint8_t* at, size_t i, uint32_t value) {
    const Word word = static_cast<Word>(value);
    std::memcpy(at + i * sizeof word, &word, sizeof word);
}

template <int Source, int Destination, typename Pixel>
void pixels(const uint8_t* from, uint8_t* to, Size size) {
    const size_t count = size_t{size.width} * size.height;
    for (size_t i = 0; i < count; ++i) Pixel::put(from + i * Source, to + i * Destination);
}

template <int Source, int Pixels, typename Group>
void groups(const uint8_t* from, uint8_t* to, Size size) {
    const size_t count = size_t{size.width} * size.height / Pixels;
    for (size_t i = 0; i < count; ++i)
        Group::put(from + i * Source, to + i * Pixels * Group::pixel_bytes);
}

template <int... From>
struct Bytes {
    static void put(const uint8_t* in, uint8_t* out) {
        int k = 0;
        ((out[k++] = in[From]), ...);
    }
};

template <int Down, int... From>
struct Words {
    static void put(const uint8_t* in, uint8_t* out) {
        int k = 0;
        ((out[k++] = static_cast<uint8_t>(word_at(in, From) >> Down)), ...);
    }
};

template <int Count>
struct Widen {
    static void put(const uint8_t* in, uint8_t* out) {
        for (size_t k = 0; k < Count; ++k) plain::put<uint16_t>(out, k, in[k]);
    }
};

struct Word565 {
    static void put(const uint8_t* in, uint8_t* out) {
        plain::put<uint16_t>(out, 0,
                             (in[2] & 0xF8u) << 8 | (in[1] & 0xFCu) << 3 | uint32_t{in[0]} >> 3);
    }
};

struct Grey565 {
    static void put(const uint8_t* in, uint8_t* out) {
        const uint32_t v = *in;
        plain::put<uint16_t>(out, 0, (v & 0xF8) << 8 | (v & 0xFC) << 3 | v >> 3);
    }
};

struct Word30 {
    static void put(const uint8_t* in, uint8_t* out) {
        plain::put<uint32_t>(out, 0, in[0] | uint32_t{in[1]} << 10 | uint32_t{in[2]} << 22);
    }
};

struct From30 {
    static void put(const uint8_t* in, uint8_t* out) {
        uint32_t word;
        std::memcpy(&word, in, 4);
        out[0] = static_cast<uint8_t>(word >> 2);
        out[1] = static_cast<uint8_t>(word >> 14);
        out[2] = static_cast<uint8_t>(word >> 24);
    }
};

inline uint8_t clamp(int v) {
    return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v);
}

template <int Destination>
void yuv(const uint8_t* from, uint8_t* to, Size size) {
    const size_t count = size_t{size.width} * size.height / 2;
    for (size_t i = 0; i < count; ++i) {
        const uint8_t* in = from + 4 * i;
        const int u = in[1] - 128, v = in[3] - 128;
        const int blue = 1815 * u >> 10, green = (352 * u + 731 * v) >> 10, red = 1436 * v >> 10;
        for (size_t k = 0; k < 2; ++k) {
            uint8_t* out = to + (2 * i + k) * Destination;
            const int y = in[2 * k];
            out[0] = clamp(y + blue);
            out[1] = clamp(y - green);
            out[2] = clamp(y + red);
        }
    }
}

// Packed samples, least significant bits first.
struct Unpack10 {
    static constexpr int count = 4, pixel_bytes = 2;
    static uint32_t get(const uint8_t* in, int k) {
        return (uint32_t{in[k]} >> 2 * k | uint32_t{in[k + 1]} << (8 - 2 * k)) & 0x3FF;
    }
    static void put(const uint8_t* in, uint8_t* out) {
        for (int k = 0; k < count; ++k)
            plain::put<uint16_t>(out, static_cast<size_t>(k), get(in, k));
    }
};

struct Unpack12 {
    static constexpr int count = 2, pixel_bytes = 2;
    static uint32_t get(const uint8_t* in, int k) {
        return k == 0 ? in[0] | (in[1] & 0xFu) << 8 : uint32_t{in[1]} >> 4 | uint32_t{in[2]} << 4;
    }
    static void put(const uint8_t* in, uint8_t* out) {
        for (int k = 0; k < count; ++k)
            plain::put<uint16_t>(out, static_cast<size_t>(k), get(in, k));
    }
};

struct Unpack14 {
    static constexpr int count = 4, pixel_bytes = 2;
    static void put(const uint8_t* in, uint8_t* out) {
        for (int k = 0; k < count; ++k)
            plain::put<uint16_t>(out, static_cast<size_t>(k), get(in, k));
    }
    static uint32_t get(const uint8_t* in, int k) {
        const uint32_t low = in[0] | uint32_t{in[1]} << 8 | uint32_t{in[2]} << 16;
        const uint32_t high = in[3] | uint32_t{in[4]} << 8 | uint32_t{in[5]} << 16;
        switch (k) {
            case 0:
                return low & 0x3FFF;
            case 1:
                return (low >> 14 | high << 10) & 0x3FFF;
            case 2:
                return high >> 4 & 0x3FFF;
            default:
                return (high >> 18 | uint32_t{in[6]} << 6) & 0x3FFF;
        }
    }
};

template <typename Group, int Down>
struct Four {
    static constexpr int pixel_bytes = 4;
    static void put(const uint8_t* in, uint8_t* out) {
        for (int k = 0; k < Group::count; ++k)
            plain::put<uint32_t>(out, static_cast<size_t>(k),
                                 (Group::get(in, k) >> Down & 0xFF) * 0x01010101u);
    }
};

struct Three12Msb {
    static constexpr int pixel_bytes = 3;
    static void put(const uint8_t* in, uint8_t* out) {
        const uint8_t second = static_cast<uint8_t>((in[1] & 15) << 4 | in[2] >> 4);
        out[0] = out[1] = out[2] = in[0];
        out[3] = out[4] = out[5] = second;
    }
};

#ifdef __BMI2__
// Four samples by one bit deposit, for those who know the instruction.
template <int Bits>
void deposit(const uint8_t* from, uint8_t* to, Size size) {
    const size_t count = size_t{size.width} * size.height / 4;
    constexpr uint64_t fields = ((uint64_t{1} << Bits) - 1) * 0x0001000100010001u;
    for (size_t i = 0; i < count; ++i) {
        uint64_t group;
        std::memcpy(&group, from + i * Bits / 2, 8);
        group = _pdep_u64(group, fields);
        std::memcpy(to + 8 * i, &group, 8);
    }
}
#endif

}  // namespace peers::plain
