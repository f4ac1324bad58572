#include "image/simd/processor.h"

#include <cpuid.h>

namespace trv {

Make processor_make() {
    unsigned a = 0, b = 0, c = 0, d = 0;
    __get_cpuid(0, &a, &b, &c, &d);
    const bool is_amd = b == signature_AMD_ebx && c == signature_AMD_ecx && d == signature_AMD_edx;
    return is_amd ? Make::amd : Make::other;
}

// Leaf 4, or AMD's leaf of the same form, lists the caches one by one, the last one last.
uint64_t last_cache_bytes() {
    const unsigned leaf = processor_make() == Make::amd ? 0x8000001D : 4;
    uint64_t bytes = 0;
    for (unsigned i = 0; i < 8; ++i) {
        unsigned a = 0, b = 0, c = 0, d = 0;
        if (__get_cpuid_count(leaf, i, &a, &b, &c, &d) == 0 || (a & 31) == 0) break;
        const unsigned ways = (b >> 22) + 1, parts = (b >> 12 & 0x3FF) + 1, line = (b & 0xFFF) + 1;
        bytes = uint64_t{ways} * parts * line * (uint64_t{c} + 1);
    }
    return bytes;
}

}  // namespace trv
