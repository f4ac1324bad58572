#include "bench/raw_plain.h"

#include "trvil/raw.h"

namespace bench {
namespace {

using Words = uint16_t*;

// A loop over groups: `Group` words from `Bytes` bytes.
template <size_t Group, size_t Bytes, typename Unpack>
void each_group(const uint8_t* from, uint8_t* to, size_t pixels, Unpack unpack) {
    auto* words = reinterpret_cast<Words>(to);
    for (size_t i = 0; i + Group <= pixels; i += Group, from += Bytes) unpack(from, words + i);
}

uint16_t word(int value) {
    return static_cast<uint16_t>(value);
}

uint16_t swapped(const uint8_t* b) {
    return word(b[0] << 8 | b[1]);
}

template <int Bits>
void high_and_low_in_the_middle(const uint8_t* b, Words w) {
    constexpr int low = Bits - 8, mask = (1 << low) - 1;
    w[0] = word(b[0] << low | (b[1] & mask));
    w[1] = word(b[2] << low | (b[1] >> 4 & mask));
}

template <int Bits>
void lowest_first(const uint8_t* b, Words w) {
    uint64_t group = 0;
    for (int i = 0; i < Bits / 2; ++i) group |= uint64_t{b[i]} << 8 * i;
    for (int k = 0; k < 4; ++k) w[k] = word(group >> k * Bits & ((1 << Bits) - 1));
}

template <int Bits>
void highest_first(const uint8_t* b, Words w) {
    uint64_t group = 0;
    for (int i = 0; i < Bits / 2; ++i) group = group << 8 | b[i];
    for (int k = 0; k < 4; ++k) w[k] = word(group >> (3 - k) * Bits & ((1 << Bits) - 1));
}

void raw10(const uint8_t* b, Words w) {
    for (int k = 0; k < 4; ++k) w[k] = word(b[k] << 2 | (b[4] >> 2 * k & 3));
}

void raw12(const uint8_t* b, Words w) {
    w[0] = word(b[0] << 4 | (b[2] & 15));
    w[1] = word(b[1] << 4 | b[2] >> 4);
}

void raw14(const uint8_t* b, Words w) {
    const int low = b[4] | b[5] << 8 | b[6] << 16;
    for (int k = 0; k < 4; ++k) w[k] = word(b[k] << 6 | (low >> 6 * k & 63));
}

void ipu3(const uint8_t* b, Words w) {
    for (int k = 0; k < 25; ++k) {
        const int at = 10 * k;
        w[k] = word((b[at / 8] | b[at / 8 + 1] << 8) >> at % 8 & 1023);
    }
}

template <int Y, int U, int Z, int V>
void reordered(const uint8_t* b, Words w) {
    w[0] = word(b[Y] | b[U] << 8);
    w[1] = word(b[Z] | b[V] << 8);
}

template <int Down>
void little(const uint8_t* b, Words w) {
    *w = word((b[0] | b[1] << 8) >> Down);
}

template <int Mask>
void big(const uint8_t* b, Words w) {
    *w = word(swapped(b) & Mask);
}

template <int Down>
void big_at_top(const uint8_t* b, Words w) {
    *w = word(swapped(b) >> Down);
}

}  // namespace

void unpack_plainly(uint32_t packing, const uint8_t* from, uint8_t* to, Size size) {
    const size_t pixels = size_t{size.width} * size.height;
    switch (packing) {
#define TRV_PLAIN(name, group, bytes, ...) \
    case TRW_PACKING_##name:               \
        return each_group<group, bytes>(from, to, pixels, __VA_ARGS__);
        TRV_PLAIN(10Packed, 2, 3, high_and_low_in_the_middle<10>)
        TRV_PLAIN(12Packed, 2, 3, high_and_low_in_the_middle<12>)
        TRV_PLAIN(10p, 4, 5, lowest_first<10>)
        TRV_PLAIN(12p, 4, 6, lowest_first<12>)
        TRV_PLAIN(14p, 4, 7, lowest_first<14>)
        TRV_PLAIN(10pmsb, 4, 5, highest_first<10>)
        TRV_PLAIN(12pmsb, 4, 6, highest_first<12>)
        TRV_PLAIN(14pmsb, 4, 7, highest_first<14>)
        TRV_PLAIN(10g40, 4, 5, raw10)
        TRV_PLAIN(12g24, 2, 3, raw12)
        TRV_PLAIN(RAW10, 4, 5, raw10)
        TRV_PLAIN(RAW12, 2, 3, raw12)
        TRV_PLAIN(RAW14, 4, 7, raw14)
        TRV_PLAIN(10ipu3, 25, 32, ipu3)
        TRV_PLAIN(10msble, 1, 2, little<6>)
        TRV_PLAIN(12msble, 1, 2, little<4>)
        TRV_PLAIN(14msble, 1, 2, little<2>)
        TRV_PLAIN(10be, 1, 2, big<0x03FF>)
        TRV_PLAIN(12be, 1, 2, big<0x0FFF>)
        TRV_PLAIN(14be, 1, 2, big<0x3FFF>)
        TRV_PLAIN(16be, 1, 2, big<0xFFFF>)
        TRV_PLAIN(10msbbe, 1, 2, big_at_top<6>)
        TRV_PLAIN(12msbbe, 1, 2, big_at_top<4>)
        TRV_PLAIN(14msbbe, 1, 2, big_at_top<2>)
        TRV_PLAIN(UYVY, 2, 4, reordered<1, 0, 3, 2>)
        TRV_PLAIN(YVYU, 2, 4, reordered<0, 3, 2, 1>)
        TRV_PLAIN(VYUY, 2, 4, reordered<1, 2, 3, 0>)
#undef TRV_PLAIN
        default:
            return;
    }
}

}  // namespace bench
