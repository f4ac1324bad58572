// What the vector operations of all levels share: types, load, store, constants.
//
// Nothing here or in a level's kernels may have a name outside the level's own namespace: the
// linker would keep one copy of an inline function for all levels, and it might be the AVX-512 one.
#pragma once

#include <cstddef>
#include <cstdint>

// A loop body is one piece: a call in it would pass its vectors through memory.
#define TRV_INLINE [[gnu::always_inline]] inline
#define TRV_INLINE_LAMBDA __attribute__((always_inline))

// One copy for all callers, which differ in constants only.
#ifdef __clang__
#define TRV_SHARED [[gnu::noinline]]
#else
#define TRV_SHARED [[gnu::noinline, gnu::noclone]]
#endif

namespace trv::TRV_LEVEL {
namespace {

template <typename T, size_t Bytes>
using VecOf __attribute__((vector_size(Bytes))) = T;

template <typename To, typename From>
TRV_INLINE To as(From v) {
    return reinterpret_cast<To>(v);
}

template <typename V>
TRV_INLINE V load(const uint8_t* at) {
    V v;
    __builtin_memcpy(&v, at, sizeof v);
    return v;
}

template <typename V>
TRV_INLINE void store(uint8_t* at, V v) {
    __builtin_memcpy(at, &v, sizeof v);
}

template <typename V, typename T>
TRV_INLINE V splat(T value) {
    auto lane = V{}[0];
    lane = static_cast<decltype(lane)>(value);
    return V{} + lane;
}

// Constant lanes, for masks and shuffle orders that a formula makes at compile time.
template <typename T, size_t Count>
struct alignas(Count * sizeof(T)) Lanes {
    T v[Count];
};

// Where word i of source `offset` of three goes in each 16 bytes when the three are interleaved.
template <size_t Bytes>
consteval Lanes<uint8_t, Bytes> word_order(int offset) {
    Lanes<uint8_t, Bytes> lanes{};
    for (int i = 0; i < static_cast<int>(Bytes); ++i) {
        const int word = i % 16 / 2, to = i / 16 * 16 + (3 * word + offset) % 8 * 2 + i % 2;
        lanes.v[to] = static_cast<uint8_t>(i % 16);
    }
    return lanes;
}

// A byte order that is the same in each 16 bytes.
template <size_t Bytes, typename F>
consteval Lanes<uint8_t, Bytes> byte_order(F f) {
    Lanes<uint8_t, Bytes> lanes{};
    for (size_t i = 0; i < Bytes; ++i) lanes.v[i] = static_cast<uint8_t>(f(i % 16));
    return lanes;
}

template <typename V, typename L>
TRV_INLINE V lanes(const L& constant) {
    static_assert(sizeof(V) == sizeof constant);
    V v;
    __builtin_memcpy(&v, &constant, sizeof v);
    return v;
}

// Two vectors of lanes that are as wide again as those they come from, in an order of their own
// that what narrows them undoes.
template <typename V>
struct Halves {
    V low, high;
    TRV_INLINE Halves operator+(const Halves& o) const { return {low + o.low, high + o.high}; }
    TRV_INLINE Halves operator+(V v) const { return {low + v, high + v}; }
};

// One thing per channel.
template <typename C>
struct Bgr {
    C b, g, r;
};

// Memory is fetched so many bytes ahead of its use, the destination as well as the source: where
// each pixel takes many steps, the processor does not look far enough ahead by itself. Fetching
// beyond the picture is harmless.
constexpr size_t prefetch_distance = 1024;

template <size_t Bytes>
TRV_INLINE void prefetch_ahead(const uint8_t* from, size_t distance = prefetch_distance) {
#pragma GCC unroll 16
    for (size_t at = 0; at < Bytes; at += 64) __builtin_prefetch(from + distance + at);
}

}  // namespace
}  // namespace trv::TRV_LEVEL
