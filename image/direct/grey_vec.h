// Vector kernels of grey and packed sources: two vectors of words hold a block's 8-bit values.
#pragma once

#include "image/direct/block_vec.h"
#include "image/direct/grey.h"
#include "image/direct/packed.h"

namespace trv::TRV_LEVEL {
namespace {

// Where a block's values come from: vector `Half` (0 or 1) of its words.
template <typename Grey>
struct GreyWords;

template <>
struct GreyWords<Grey8> {
    static constexpr size_t unit = 1, unit_bytes = 1;
    template <int Half>
    TRV_INLINE static U16 get(const uint8_t* source, const Line& job) {
        return as<U16>(
            gather<Map<1, 0, zero>, Half * vector_bytes, vector_bytes>(source, AsTheyAre(job)));
    }
};

template <>
struct GreyWords<Grey16> {
    static constexpr size_t unit = 1, unit_bytes = 2;
    template <int Half>
    TRV_INLINE static U16 get(const uint8_t* source, const Line& job) {
        return shift_right(load<U16>(source + Half * vector_bytes), job.shift) & splat<U16>(0xFF);
    }
};

template <size_t Unit, size_t UnitBytes, typename F>
struct FieldWords {
    static constexpr size_t unit = Unit, unit_bytes = UnitBytes;
    template <int Half>
    TRV_INLINE static U16 get(const uint8_t* source, const Line& job) {
        constexpr int room = vector_bytes / static_cast<int>(unit) * static_cast<int>(unit_bytes);
        return F::template get<Half * vector_bytes, room>(source, job);
    }
};

// The windows are those of the bits wanted: pixel k's top 8 bits begin at bit k * n + n - 8 of its
// group; of 12 bits, deliberately, the low 8 at bit 12 k.
template <>
struct GreyWords<Packed<10, 4>>
    : FieldWords<4, 5, Field<Map<5, 0, 1, 1, 2, 2, 3, 4, zero>, 8, 64, 16, 4, 256>> {};
template <>
struct GreyWords<Packed<12, 2>> : FieldWords<2, 3, Field<Map<3, 0, zero, 1, 2>, 8, 256, 16>> {};
template <>
struct GreyWords<Packed<14, 4>>
    : FieldWords<4, 7, Field<Map<7, 0, 1, 2, 3, 4, 5, 6, zero>, 8, 4, 16, 64, 256>> {};
template <>
struct GreyWords<Packed12Msb> : FieldWords<2, 3, Field<Map<3, zero, 0, 2, 1>, 8, 1, 16>> {};

struct TwoVectors {
    U16 a, b;
};

template <typename Grey>
struct GreyBlocks {
    static constexpr size_t pixels = sizeof(U8);
    static constexpr size_t unit = GreyWords<Grey>::unit;
    static constexpr size_t unit_bytes = GreyWords<Grey>::unit_bytes;
    TRV_INLINE static TwoVectors read(const uint8_t* source, const Line& job) {
        return {GreyWords<Grey>::template get<0>(source, job),
                GreyWords<Grey>::template get<1>(source, job)};
    }
};

template <typename Grey, bool SixGreen>
struct Kernel<GreyWord<Grey, SixGreen>> : GreyBlocks<Grey> {
    TRV_INLINE static void write(uint8_t* out, const TwoVectors& v) {
        store(out, words_of<SixGreen>(v.a, v.a, v.a));
        store(out + vector_bytes, words_of<SixGreen>(v.b, v.b, v.b));
    }
};

template <typename Grey>
struct Kernel<GreyThree<Grey>> : GreyBlocks<Grey> {
    TRV_INLINE static void write(uint8_t* out, const TwoVectors& v) {
        store_thrice(out, narrow(v.a, v.b));
    }
};

template <typename Grey>
struct Kernel<GreyFour<Grey>> : GreyBlocks<Grey> {
    TRV_INLINE static void write(uint8_t* out, const TwoVectors& v) {
        store_four_times(out, v.a);
        store_four_times(out + 2 * vector_bytes, v.b);
    }
};

template <size_t Unit, size_t UnitBytes, typename F>
struct UnpackBlocks {
    static constexpr size_t pixels = sizeof(U8);
    static constexpr size_t unit = Unit, unit_bytes = UnitBytes;
    TRV_INLINE static TwoVectors read(const uint8_t* source, const Line& job) {
        using Words = FieldWords<Unit, UnitBytes, F>;
        return {Words::template get<0>(source, job), Words::template get<1>(source, job)};
    }
    TRV_INLINE static void write(uint8_t* out, const TwoVectors& v) {
        store(out, v.a);
        store(out + vector_bytes, v.b);
    }
};

// 14 bits do not fit a 16-bit window at every place. The first byte of a sample gives its low bits,
// the window of the two bytes after it the rest.
struct Field14 {
    template <int First, int Room>
    TRV_INLINE static U16 get(const uint8_t* source, const Line& job) {
        static constexpr auto factors = [] {
            const int shift[] = {0, 6, 4, 2};  // of the sample inside its first byte
            Lanes<uint16_t, sizeof(U8) / 2> lanes{};
            for (int i = 0; i < vector_bytes / 2; ++i)
                lanes.v[i] = static_cast<uint16_t>(1 << (8 - shift[i % 4]));
            return lanes;
        }();
        const U16 factor = lanes<U16>(factors);
        using Low = Map<7, zero, 0, zero, 1, zero, 3, zero, 5>;
        using Rest = Map<7, 1, 2, 2, 3, 4, 5, 6, zero>;
        const U8 low = gather<Low, First, Room>(source, AsTheyAre(job));
        const U8 rest = gather<Rest, First, Room>(source, AsTheyAre(job));
        return (mul_high(as<U16>(low), factor) | as<U16>(rest) * factor) & splat<U16>(0x3FFF);
    }
};

template <>
struct Kernel<Unpacked<10, 4>>
    : UnpackBlocks<4, 5, Field<Map<5, 0, 1, 1, 2, 2, 3, 3, 4>, 6, 64, 16, 4, 1>> {};
template <>
struct Kernel<Unpacked<12, 2>> : UnpackBlocks<2, 3, Field<Map<3, 0, 1, 1, 2>, 4, 16, 1>> {};
template <>
struct Kernel<Unpacked<14, 4>> : UnpackBlocks<4, 7, Field14> {};

}  // namespace
}  // namespace trv::TRV_LEVEL
