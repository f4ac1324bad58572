// The vector operations of one level against plain loops over lanes; compiled once per level.
#include <cstddef>
#include <cstdint>

#ifdef TRV_VECTORS
#include "image/simd/vec.h"

namespace trv::TRV_LEVEL {
namespace {

template <typename V>
constexpr size_t count_of = sizeof(V) / sizeof(V{}[0]);

template <typename V, typename F>
bool is_each(V v, F expected) {
    for (size_t i = 0; i < count_of<V>; ++i)
        if (static_cast<int64_t>(v[i]) != static_cast<int64_t>(expected(i))) return false;
    return true;
}

// Whether `store` writes Count bytes as they should be, leaves alone those that should be -1 and
// touches nothing around them.
template <size_t Count, typename Store, typename F>
bool stores(Store store, F expected) {
    constexpr int paint = 0xA5;
    uint8_t memory[Count + 128];
    for (uint8_t& byte : memory) byte = paint;
    store(memory + 64);
    for (size_t i = 0; i < sizeof memory; ++i) {
        const int made = i >= 64 && i < 64 + Count ? expected(i - 64) : -1;
        if (memory[i] != (made < 0 ? paint : made)) return false;
    }
    return true;
}

// What bytes and words have.
template <typename V>
const char* check_samples(const uint8_t* at) {
    const V a = load<V>(at), b = load<V>(at + sizeof(V)), both = a & b;
    if (!is_each(min(a, b), [&](size_t i) { return a[i] < b[i] ? a[i] : b[i]; })) return "min";
    if (!is_each(max(a, b), [&](size_t i) { return a[i] < b[i] ? b[i] : a[i]; })) return "max";
    if (!is_each(ceil_mean(a, b), [&](size_t i) { return (a[i] + b[i] + 1) / 2; }))
        return "ceil_mean";
    if (!is_each(floor_mean(a, b), [&](size_t i) { return (a[i] + b[i]) / 2; }))
        return "floor_mean";
    if (!is_each(less_one(both), [&](size_t i) { return both[i] == 0 ? 0 : both[i] - 1; }))
        return "less_one";
    const size_t sample = sizeof(V{}[0]);
    const V left = load<V>(at), right = load<V>(at + 2 * sample), own = load<V>(at + sample);
    if (!is_each(between(left, right, at + sample), [&](size_t i) { return own[i]; }))
        return "between";
    return nullptr;
}

const char* check_words(const uint8_t* at) {
    const U16 a = load<U16>(at), b = load<U16>(at + sizeof(U8));
    const I16 c = as<I16>(a), d = as<I16>(b);
    const U32 low_a = as<U32>(a) & splat<U32>(0xFFFF), low_b = as<U32>(b) & splat<U32>(0xFFFF);
    const size_t half = count_of<U16>;
    const auto clamped = [](int v) { return v < 0 ? 0 : v > 255 ? 255 : v; };
    if (!is_each(shift_right(a, 5), [&](size_t i) { return a[i] >> 5; })) return "shift_right";
    if (!is_each(mul_high(a, b), [&](size_t i) { return uint32_t{a[i]} * b[i] >> 16; }))
        return "mul_high";
    if (!is_each(mul_high(c, d), [&](size_t i) { return c[i] * d[i] >> 16; }))
        return "mul_high, signed";
    if (!is_each(sums_of_products(c, d), [&](size_t i) {
            return uint32_t(c[2 * i] * d[2 * i]) + uint32_t(c[2 * i + 1] * d[2 * i + 1]);
        }))
        return "sums_of_products";
    if (!is_each(narrow(a, b), [&](size_t i) { return (i < half ? a[i] : b[i - half]) & 0xFF; }))
        return "narrow";
    if (!is_each(narrow(low_a, low_b),
                 [&](size_t i) { return i < half / 2 ? low_a[i] : low_b[i - half / 2]; }))
        return "narrow, dwords";
    if (!is_each(saturate(c, d), [&](size_t i) { return clamped(i < half ? c[i] : d[i - half]); }))
        return "saturate";
    const U16 wide[] = {widen_low(as<U8>(a)), widen_high(as<U8>(a))};
    for (size_t i = 0; i < 2 * half; ++i)
        if (wide[i / half][i % half] != as<U8>(a)[i]) return "widen";
    return nullptr;
}

const char* check_saturate_in_turn(const uint8_t* at) {
    const I16 a = as<I16>(load<U16>(at)), b = as<I16>(load<U16>(at + sizeof(U8)));
    const I32 c = as<I32>(a) >> 12, d = as<I32>(b) >> 12;
    const auto clamped = [](int v, int most) { return v < 0 ? 0 : v > most ? most : v; };
    if (!is_each(saturate_in_turn(a, b),
                 [&](size_t i) { return clamped(i % 2 == 0 ? a[i / 2] : b[i / 2], 255); }))
        return "saturate_in_turn, words";
    if (!is_each(saturate_in_turn(c, d),
                 [&](size_t i) { return clamped(i % 2 == 0 ? c[i / 2] : d[i / 2], 65535); }))
        return "saturate_in_turn, dwords";
    return nullptr;
}

const char* check_bytes(const uint8_t* at) {
    const U8 a = load<U8>(at), b = load<U8>(at + sizeof(U8));
    const U8 order = b & splat<U8>(0x8F), small_a = a >> 4, small_b = b >> 4;
    if (!is_each(shuffle(a, order),
                 [&](size_t i) { return order[i] > 15 ? 0 : a[i / 16 * 16 + order[i]]; }))
        return "shuffle";
    if (!is_each(narrow(weighted<7, 5>(small_a, small_b)),
                 [&](size_t i) { return 7 * small_a[i] + 5 * small_b[i]; }))
        return "weighted";
    return nullptr;
}

const char* check_stores(const uint8_t* at) {
    constexpr size_t n = sizeof(U8);
    const U8 a = load<U8>(at), b = load<U8>(at + n), c = load<U8>(at + 2 * n);
    const U32 pixels[] = {load<U32>(at), load<U32>(at + n), load<U32>(at + 2 * n),
                          load<U32>(at + 3 * n)};
    const auto byte = [&](size_t source, size_t i) { return at[source * n + i]; };
    if (!stores<2 * n>([&](uint8_t* out) { store_in_turn(out, as<U16>(a), as<U16>(b)); },
                       [&](size_t i) { return byte(i / 2 % 2, i / 4 * 2 + i % 2); }))
        return "store_in_turn";
    if (!stores<3 * n>(
            [&](uint8_t* out) { store_three_words(out, as<U16>(a), as<U16>(b), as<U16>(c)); },
            [&](size_t i) { return byte(i / 2 % 3, i / 6 * 2 + i % 2); }))
        return "store_three_words";
    if (!stores<3 * n>([&](uint8_t* out) { store_three(out, a, b, c); },
                       [&](size_t i) { return byte(i % 3, i / 3); }))
        return "store_three";
    if (!stores<3 * n>([&](uint8_t* out) { store_thrice(out, a); },
                       [&](size_t i) { return byte(0, i / 3); }))
        return "store_thrice";
    if (!stores<2 * n>([&](uint8_t* out) { store_four_times(out, as<U16>(a)); },
                       [&](size_t i) { return byte(0, i / 4 * 2); }))
        return "store_four_times";
    if (!stores<3 * n>([&](uint8_t* out) { store_three(out, pixels); },
                       [&](size_t i) { return at[i / 3 * 4 + i % 3]; }))
        return "store_three, dwords";
    if (!stores<4 * n>([&](uint8_t* out) { store_three_of_four(out, a, b, c); },
                       [&](size_t i) { return i % 4 == 3 ? -1 : byte(i % 4, i / 4); }))
        return "store_three_of_four";
    if (!stores<4 * n>([&](uint8_t* out) { store_three_of_four<true>(out, a, b, c); },
                       [&](size_t i) { return i % 4 == 0 ? -1 : byte(i % 4 - 1, i / 4); }))
        return "store_three_of_four, pad first";
    return nullptr;
}

}  // namespace

// The first operation that goes wrong on 256 bytes of samples; null when none does.
const char* wrong_operation(const uint8_t* samples);
const char* wrong_operation(const uint8_t* samples) {
    using Check = const char* (*)(const uint8_t*);
    const Check checks[] = {check_samples<U8>,      check_samples<U16>, check_words,
                            check_saturate_in_turn, check_bytes,        check_stores};
    for (const Check check : checks)
        if (const char* name = check(samples)) return name;
    return nullptr;
}

}  // namespace trv::TRV_LEVEL

#else

namespace trv::scalar {

const char* wrong_operation(const uint8_t*);
const char* wrong_operation(const uint8_t*) {
    return nullptr;  // it has none
}

}  // namespace trv::scalar

#endif
