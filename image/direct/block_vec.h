// What the vector kernels of the direct routes are made of.
#pragma once

#include "image/direct/rule.h"
#include "image/simd/vec.h"

namespace trv::TRV_LEVEL {
namespace {

constexpr int vector_bytes = static_cast<int>(sizeof(U8));

// How a block of pixels of one rule is read and written:
//   pixels      per block       unit, unit_bytes   pixels that share whole source bytes, and these
//   read        a block's source, whole            write   what was read, converted
template <typename Rule>
struct Kernel;

// What is done to loaded bytes before they are taken apart.
struct AsTheyAre {
    static constexpr bool words = false;
    TRV_INLINE explicit AsTheyAre(const Line&) {}
    TRV_INLINE U8 operator()(U8 v) const { return v; }
};

struct NarrowWords {
    static constexpr bool words = true;
    TRV_INLINE explicit NarrowWords(const Line& job) : shift(job.shift) {}
    TRV_INLINE U8 operator()(U8 v) const { return as<U8>(shift_right(as<U16>(v), shift)); }
    unsigned shift;
};

// Words of a map, each multiplied by its factor and shifted: takes a field of bits from any place
// of a 16-bit window. The factor moves the field's top to bit 15, the shift its bottom to bit 0.
template <typename M, int Shift, int... Factors>
struct Field {
    template <int First, int Room>
    TRV_INLINE static U16 get(const uint8_t* source, const Line& job) {
        static constexpr auto factors = [] {
            const int list[] = {Factors...};
            Lanes<uint16_t, sizeof(U8) / 2> lanes{};
            for (int i = 0; i < vector_bytes / 2; ++i)
                lanes.v[i] = static_cast<uint16_t>(
                    list[(First / 2 + i) % static_cast<int>(sizeof...(Factors))]);
            return lanes;
        }();
        const U8 words = gather<M, First, Room>(source, AsTheyAre(job));
        return as<U16>(words) * lanes<U16>(factors) >> Shift;
    }
};

// Pixels per block that fill whole vectors of the destination and give a load room at the source:
// the processor does not fetch ahead by itself for loads under a mask, of less than a vector.
template <typename M>
consteval int block_pixels() {
    int pixels = vector_bytes;
    while (pixels * M::destination % (2 * vector_bytes) == 0 &&
           pixels / 2 * M::source >= (vector_bytes == 64 ? 64 : 16))
        pixels /= 2;
    while (pixels * M::source < 16) pixels *= 2;
    return pixels;
}

// Blocks of a map, its result vectors held as a whole.
template <typename M, typename Pre>
struct MappedBlocks {
    static constexpr size_t pixels = static_cast<size_t>(block_pixels<M>());
    static constexpr size_t unit = 1;
    static constexpr size_t unit_bytes = static_cast<size_t>(M::source);
    static constexpr int room = block_pixels<M>() * M::source;
    static constexpr int vectors = block_pixels<M>() * M::destination / vector_bytes;

    struct Block {
        U8 v[static_cast<size_t>(vectors)];
    };

    template <int... K>
    TRV_INLINE static Block read_all(const uint8_t* source, Pre pre,
                                     std::integer_sequence<int, K...>) {
        return {{gather<M, K * vector_bytes, room>(source, pre)...}};
    }
    template <int... K>
    TRV_INLINE static void write_all(uint8_t* out, const Block& block,
                                     std::integer_sequence<int, K...>) {
        (store_mapped<M, K * vector_bytes>(out + K * vector_bytes, block.v[K]), ...);
    }
    TRV_INLINE static Block read(const uint8_t* source, const Line& job) {
        return read_all(source, Pre(job), std::make_integer_sequence<int, vectors>{});
    }
    TRV_INLINE static void write(uint8_t* out, const Block& block) {
        write_all(out, block, std::make_integer_sequence<int, vectors>{});
    }
};

template <typename M>
struct Kernel<Bytes<M>> : MappedBlocks<M, AsTheyAre> {};

template <typename M>
struct Kernel<NarrowBytes<M>> : MappedBlocks<M, NarrowWords> {};

}  // namespace
}  // namespace trv::TRV_LEVEL
