// Vector kernels of colour sources: words, 30 bits, YUV.
#pragma once

#include "image/direct/block_vec.h"
#include "image/direct/colour.h"
#include "image/direct/yuv.h"

namespace trv::TRV_LEVEL {
namespace {

template <int Pixels, int Source>
struct PixelBlocks {
    static constexpr size_t pixels = Pixels;
    static constexpr size_t unit = 1, unit_bytes = Source;
};

struct StoreWords {
    TRV_INLINE static void write(uint8_t* out, U16 words) { store(out, words); }
};

// Two words per pixel hold its channels: the bottom one below green, and the top one where it
// belongs.
template <int Source, int Top, int Green, int Bottom, bool SixGreen>
struct Kernel<ColourWord<Source, Top, Green, Bottom, SixGreen>>
    : PixelBlocks<vector_bytes / 2, Source>, StoreWords {
    template <typename M>
    TRV_INLINE static U16 words(const uint8_t* source, const Line& job) {
        constexpr int room = vector_bytes / 2 * Source;
        return as<U16>(gather<M, 0, room>(source, AsTheyAre(job)));
    }
    TRV_INLINE static U16 read(const uint8_t* source, const Line& job) {
        const U16 two = words<Map<Source, Bottom, Green>>(source, job);
        const U16 top = words<Map<Source, zero, Top>>(source, job) & splat<U16>(0xF800);
        const U16 bottom = (two & splat<U16>(0xF8)) >> 3;
        if constexpr (SixGreen) return top | (two >> 5 & splat<U16>(0x7E0)) | bottom;
        return top >> 1 | (two >> 6 & splat<U16>(0x3E0)) | bottom;
    }
};

template <int Kept, int Other>
struct Kernel<FlaggedChannel<Kept, Other>> : PixelBlocks<vector_bytes / 2, 6>, StoreWords {
    template <int Channel>
    TRV_INLINE static U16 channel(const uint8_t* source, const Line& job) {
        return as<U16>(
            gather<Map<6, Channel, Channel + 1>, 0, vector_bytes / 2 * 6>(source, AsTheyAre(job)));
    }
    TRV_INLINE static U16 read(const uint8_t* source, const Line& job) {
        const U16 is_set = as<U16>(channel<Other>(source, job) != U16{});
        return shift_right(channel<Kept>(source, job), job.shift + 3) |
               (is_set & splat<U16>(job.flag));
    }
};

// Four vectors of dwords, a block of 4-byte pixels.
struct FourVectors {
    U32 d[4];
};

struct StoreDwords {
    TRV_INLINE static void write(uint8_t* out, const FourVectors& v) {
        for (int k = 0; k < 4; ++k) store(out + k * vector_bytes, v.d[k]);
    }
};

template <typename M>
struct Kernel<Thirty<M>> : PixelBlocks<vector_bytes, M::source>, StoreDwords {
    template <int K>
    TRV_INLINE static U32 get(const uint8_t* source, const Line& job) {
        constexpr int room = vector_bytes * M::source;
        if constexpr (M::source == 1) {
            using Alone = Map<1, 0, zero, zero, zero>;
            const U32 v = as<U32>(gather<Alone, K * vector_bytes, room>(source, AsTheyAre(job)));
            return v | v << 10 | v << 22;
        }
        const U32 d = as<U32>(gather<M, K * vector_bytes, room>(source, AsTheyAre(job)));
        return (d & splat<U32>(0xFF)) | (d & splat<U32>(0xFF00)) << 2 |
               (d & splat<U32>(0xFF0000)) << 6;
    }
    TRV_INLINE static FourVectors read(const uint8_t* source, const Line& job) {
        return {
            {get<0>(source, job), get<1>(source, job), get<2>(source, job), get<3>(source, job)}};
    }
};

template <int Source, int Low, int Middle, int High>
struct Kernel<DeepThirty<Source, Low, Middle, High>> : PixelBlocks<vector_bytes, Source>,
                                                       StoreDwords {
    template <int K, int Channel>
    TRV_INLINE static U32 channel(const uint8_t* source, const Line& job) {
        return as<U32>(gather<Map<Source, Channel, Channel + 1, zero, zero>, K * vector_bytes,
                              vector_bytes * Source>(source, AsTheyAre(job)));
    }
    template <int K>
    TRV_INLINE static U32 get(const uint8_t* source, const Line& job) {
        const unsigned down = job.shift - 2;
        const U32 low = channel<K, Low>(source, job) >> down & splat<U32>(0x3FF);
        const U32 middle = channel<K, Middle>(source, job) << 2 >> down & splat<U32>(0xFFF);
        const U32 high = channel<K, High>(source, job) >> down;
        return low | middle << 10 | high << 22;
    }
    TRV_INLINE static FourVectors read(const uint8_t* source, const Line& job) {
        return {
            {get<0>(source, job), get<1>(source, job), get<2>(source, job), get<3>(source, job)}};
    }
};

TRV_INLINE U32 bgr_of_thirty(U32 w) {
    return (w >> 2 & splat<U32>(0xFF)) | (w >> 6 & splat<U32>(0xFF00)) |
           (w >> 8 & splat<U32>(0xFF0000));
}

template <typename M>
struct Kernel<ThirtyBytes<M>> : PixelBlocks<vector_bytes, 4> {
    TRV_INLINE static FourVectors read(const uint8_t* source, const Line&) {
        const auto get = [&](int k) TRV_INLINE_LAMBDA {
            return permute<M>(bgr_of_thirty(load<U32>(source + k * vector_bytes)));
        };
        return {{get(0), get(1), get(2), get(3)}};
    }
    TRV_INLINE static void write(uint8_t* out, const FourVectors& v) {
        if constexpr (M::destination == 3)
            store_three(out, v.d);
        else
            for (int k = 0; k < 4; ++k) store_mapped<M, 0>(out + k * vector_bytes, as<U8>(v.d[k]));
    }
};

template <bool RedOnTop, bool SixGreen>
struct Kernel<ThirtyWord<RedOnTop, SixGreen>> : PixelBlocks<vector_bytes / 2, 4>, StoreWords {
    TRV_INLINE static U32 words(U32 w) {
        // The top bits of each field, moved straight to where the word has them.
        constexpr int top = SixGreen ? 11 : 10;
        const U32 green = SixGreen ? w >> 11 & splat<U32>(0x7E0) : w >> 12 & splat<U32>(0x3E0);
        const U32 red = w >> 27, blue = w >> 5 & splat<U32>(0x1F);
        return (RedOnTop ? red : blue) << top | green | (RedOnTop ? blue : red);
    }
    TRV_INLINE static U16 read(const uint8_t* source, const Line&) {
        return narrow(words(load<U32>(source)), words(load<U32>(source + vector_bytes)));
    }
};

template <>
struct Kernel<ThirtyExchanged> : PixelBlocks<vector_bytes / 4, 4> {
    TRV_INLINE static U32 read(const uint8_t* source, const Line&) {
        const U32 w = load<U32>(source);
        return (w & splat<U32>(0x3FFC00)) | w << 22 | w >> 22;
    }
    TRV_INLINE static void write(uint8_t* out, U32 v) { store(out, v); }
};

// Fields of 10 bits as words; `Behind` source bytes belong to the pixel after the block.
template <typename F, int Behind>
struct ThirtyFields : PixelBlocks<vector_bytes / 2, 4> {
    struct Block {
        U16 v[3];
    };
    TRV_INLINE static Block read(const uint8_t* source, const Line& job) {
        constexpr int room = vector_bytes * 2 + Behind;
        return {{F::template get<0, room>(source, job),
                 F::template get<vector_bytes, room>(source, job),
                 F::template get<2 * vector_bytes, room>(source, job)}};
    }
    TRV_INLINE static void write(uint8_t* out, const Block& block) {
        for (int k = 0; k < 3; ++k) store(out + k * vector_bytes, block.v[k]);
    }
};

template <>
struct Kernel<ThirtyToBgr48> : ThirtyFields<Field<Map<4, 0, 1, 1, 2, 2, 3>, 6, 64, 4, 1>, 0> {};
template <>
struct Kernel<ThirtyToRgb48> : ThirtyFields<Field<Map<4, 2, 3, 5, 6, 4, 5>, 6, 1, 4, 64>, 4> {};

struct Planes {
    U8 blue, green, red;
};

struct YuvWords {
    I16 blue, green, red;
};

// The scalar rule: a word's upper byte is U in even words and V in odd ones. With u6 = 64 (U -
// 128), the high half of u6 * 1815 is 1815 u >> 10, and that of 352 u6 + 731 v6 is (352 u + 731 v)
// >> 10. Both pixels of a pair take them from where they are.
TRV_INLINE YuvWords yuv_words(U16 pixels) {
    const auto of_pair = [](uint32_t u, uint32_t v)
                             TRV_INLINE_LAMBDA { return as<I16>(splat<U32>(u | v << 16)); };
    const auto lower = [](auto v) TRV_INLINE_LAMBDA {
        return as<I16>(permute<Map<4, 0, 1, 0, 1>>(as<U32>(v)));
    };
    const auto upper = [](auto v) TRV_INLINE_LAMBDA {
        return as<I16>(permute<Map<4, 2, 3, 2, 3>>(as<U32>(v)));
    };
    // 128 less is the top bit turned over.
    const I16 uv6 = as<I16>((pixels & splat<U16>(0xFF00)) ^ splat<U16>(0x8000)) >> 2;
    const I16 y = as<I16>(pixels & splat<U16>(0xFF));
    const I16 blue_red = mul_high(uv6, of_pair(1815, 1436));
    const U32 green = sums_of_products(uv6, of_pair(352, 731));
    return {y + lower(blue_red), y - upper(green), y + upper(blue_red)};
}

template <typename M>
struct Kernel<Yuv<M>> {
    static constexpr size_t pixels = vector_bytes;
    static constexpr size_t unit = 2, unit_bytes = 4;
    static constexpr bool pad_first = M::at(0) == keep;
    static constexpr bool blue_first = M::at(pad_first ? 1 : 0) == 0;

    TRV_INLINE static Planes read(const uint8_t* source, const Line&) {
        const YuvWords a = yuv_words(load<U16>(source));
        const YuvWords b = yuv_words(load<U16>(source + vector_bytes));
        return {saturate(a.blue, b.blue), saturate(a.green, b.green), saturate(a.red, b.red)};
    }
    TRV_INLINE static void write(uint8_t* out, const Planes& p) {
        const U8 first = blue_first ? p.blue : p.red, last = blue_first ? p.red : p.blue;
        if constexpr (M::destination == 3)
            store_three(out, first, p.green, last);
        else
            store_three_of_four<pad_first>(out, first, p.green, last);
    }
};

}  // namespace
}  // namespace trv::TRV_LEVEL
