// For every processor of the architecture: main memory is slower than any length of vector.
#include "image/simd/stream.h"

#include <emmintrin.h>
#include <string.h>

namespace trv {

void copy_past_caches(uint8_t* to, const uint8_t* from, size_t count) {
    constexpr size_t line = 64;
    size_t head = (line - reinterpret_cast<uintptr_t>(to) % line) % line;
    if (head > count) head = count;
    memcpy(to, from, head);
    size_t at = head;
    for (; count - at >= line; at += line)
        for (size_t k = at; k < at + line; k += sizeof(__m128i)) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + k));
            _mm_stream_si128(reinterpret_cast<__m128i*>(to + k), v);
        }
    memcpy(to + at, from + at, count - at);
}

void order_stores() {
    _mm_sfence();
}

}  // namespace trv
