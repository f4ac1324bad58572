// Which levels an x86-64 processor and its operating system run.
#include <cpuid.h>

#include <cstdint>

namespace trv {
namespace v2 {
bool is_supported();
}
namespace v3 {
bool is_supported();
}
namespace v4 {
bool is_supported();
}

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

}  // namespace

bool v2::is_supported() {
    return has(cpuid(1).c,
               bit_SSE3 | bit_SSSE3 | bit_SSE4_1 | bit_SSE4_2 | bit_POPCNT | bit_CMPXCHG16B);
}

bool v3::is_supported() {
    const Registers basic = cpuid(1);
    return v2::is_supported() && has(saved_state(basic), 0x6) &&
           has(basic.c, bit_AVX | bit_F16C | bit_FMA | bit_MOVBE) &&
           has(cpuid(7).b, bit_AVX2 | bit_BMI | bit_BMI2) && has(cpuid(0x80000001).c, bit_lzcnt);
}

bool v4::is_supported() {
    const Registers extended = cpuid(7);
    return v3::is_supported() && has(saved_state(cpuid(1)), 0xE6) &&
           has(extended.b,
               bit_AVX512F | bit_AVX512BW | bit_AVX512CD | bit_AVX512DQ | bit_AVX512VL) &&
           has(extended.c, bit_AVX512VBMI | bit_AVX512VBMI2);
}

}  // namespace trv
