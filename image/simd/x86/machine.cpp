#include "image/dispatch/machine.h"

#include <cpuid.h>

#include <cstdint>

namespace trv {
namespace {

struct Registers {
    unsigned a = 0, b = 0, c = 0, d = 0;
};

constexpr bool has(unsigned value, unsigned bits) {
    return (value & bits) == bits;
}

Registers cpuid(unsigned leaf, unsigned subleaf = 0) {
    Registers r;
    __get_cpuid_count(leaf, subleaf, &r.a, &r.b, &r.c, &r.d);
    return r;
}

// Register files that the operating system saves: bit 1 SSE, 2 AVX, 5 to 7 AVX-512.
uint32_t saved_state(const Registers& basic) {
    if (!has(basic.c, bit_OSXSAVE)) return 0;
    uint32_t low = 0, high = 0;
    __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return low;
}

constexpr unsigned bit_lzcnt = 1u << 5;  // leaf 0x80000001, ECX

bool has_v2(const Registers& basic) {
    return has(basic.c,
               bit_SSE3 | bit_SSSE3 | bit_SSE4_1 | bit_SSE4_2 | bit_POPCNT | bit_CMPXCHG16B);
}

bool has_v3(const Registers& basic, const Registers& extended) {
    return has(saved_state(basic), 0x6) && has(basic.c, bit_AVX | bit_F16C | bit_FMA | bit_MOVBE) &&
           has(extended.b, bit_AVX2 | bit_BMI | bit_BMI2) && has(cpuid(0x80000001).c, bit_lzcnt);
}

bool has_v4(const Registers& basic, const Registers& extended) {
    return has(saved_state(basic), 0xE6) &&
           has(extended.b,
               bit_AVX512F | bit_AVX512BW | bit_AVX512CD | bit_AVX512DQ | bit_AVX512VL) &&
           has(extended.c, bit_AVX512VBMI | bit_AVX512VBMI2);
}

}  // namespace

unsigned highest_level() {
    const Registers basic = cpuid(1);
    const Registers extended = cpuid(7);
    if (!has_v2(basic)) return 0;
    if (!has_v3(basic, extended)) return 1;
    return has_v4(basic, extended) ? 3 : 2;
}

}  // namespace trv
