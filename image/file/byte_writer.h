// Multi-byte numbers as single characters on a C stream, in either byte order.
#pragma once

#include <stdio.h>

#include <cstdint>

namespace trv {

enum class ByteOrder { most_first, least_first };

// One character call per byte; the result is the last call's. Put is fputc, or its unlocked form
// where the caller holds the stream's lock.
template <int (*Put)(int, FILE*), unsigned Bytes, ByteOrder Order>
inline uint32_t put_number(FILE* stream, uint32_t value) {
    int last = 0;
    for (unsigned i = 0; i < Bytes; ++i) {
        const unsigned place = Order == ByteOrder::most_first ? Bytes - 1 - i : i;
        last = Put(static_cast<int>(value >> 8 * place & 0xFF), stream);
    }
    return static_cast<uint32_t>(last);
}

inline int put_unlocked(int character, FILE* stream) {
    return putc_unlocked(character, stream);
}

// Holds a stream's lock while its characters are put unlocked: a 4096 x 3072 picture has 38
// million.
class StreamLock {
  public:
    explicit StreamLock(FILE* stream) : stream_(stream) { flockfile(stream_); }
    ~StreamLock() { funlockfile(stream_); }
    StreamLock(const StreamLock&) = delete;
    StreamLock& operator=(const StreamLock&) = delete;

  private:
    FILE* stream_;
};

}  // namespace trv
