// Pixels x to x + sizeof(U8) - 1 of 16-bit samples, two vectors of them.
#pragma once

#include "image/bayer/rule_vec.h"

namespace trv::TRV_LEVEL {
namespace {

// Bits between a sample and the 8 bits that a colour keeps of it or of its sums.
template <typename Rule, bool RowIsRed, typename T>
TRV_INLINE Bgr<EightBits> eight_bits(unsigned shift, const T& parity) {
    constexpr SumBits b = Rule::bits;
    const auto bits = [&](unsigned at_green, unsigned at_colour) TRV_INLINE_LAMBDA {
        return EightBits(shift + parity.first_of(at_green, at_colour),
                         shift + parity.second_of(at_green, at_colour));
    };
    return channels<RowIsRed>(bits(0, b.plus), bits(b.beside, 0), bits(b.vertical, b.cross));
}

// How much of a sum is kept: all of it; what 16 bits hold, which is enough for samples of up to 14;
// or what leaves the upper byte right, which is all that counts of 16-bit samples.
enum class Sums { whole, wrapping, upper_byte };

template <bayer::SpanRule M, Sums S, bayer::SpanLayout L, bool RowIsRed>
struct AveragesOf {
    using Type = All<Exact<M, U16>>;
};
template <bayer::SpanRule M, bayer::SpanLayout L, bool RowIsRed>
struct AveragesOf<M, Sums::wrapping, L, RowIsRed> {
    using Type = All<Average<M, WrappingMean<U16>>>;
};
// The blue of a 5-6-5 word is not masked: what is above the samples' bits stays.
template <bayer::SpanRule M>
struct AveragesOf<M, Sums::wrapping, bayer::rgb16, false> {
    using Wrapping = Average<M, WrappingMean<U16>>;
    using Type = Each<Wrapping, Exact<M, U16>, Wrapping>;
};
template <bayer::SpanRule M>
struct AveragesOf<M, Sums::wrapping, bayer::rgb16, true> {
    using Wrapping = Average<M, WrappingMean<U16>>;
    using Type = Each<Wrapping, Wrapping, Exact<M, U16>>;
};
template <bayer::SpanRule M, bayer::SpanLayout L, bool RowIsRed>
struct AveragesOf<M, Sums::upper_byte, L, RowIsRed> {
    using Type = All<Average<M, UpperByteMean<U16, 1>>>;
};

// Two vectors of samples as pixels, and where in each result its colour's 8 bits lie.
template <bayer::SpanLayout L, typename Bits>
TRV_INLINE void store_pixels(uint8_t* out, const Bgr<U16>& low, const Bgr<U16>& high,
                             const Bgr<Bits>& bits) {
    if constexpr (L == bayer::bgr24) {
        store_three(out, low, high, bits);
    } else if constexpr (L == bayer::bgrx32) {
        store_three_of_four(out, low, high, bits);
    } else {
        store(out, Bits::word(low, bits));
        store(out + sizeof(U16), Bits::word(high, bits));
    }
}

template <bayer::SpanLayout L, bayer::SpanRule M, Sums S, bool GreenFirst, bool RowIsRed>
struct Step16 {
    static constexpr bayer::SpanLayout layout = L;
    static constexpr bayer::SpanRule rule = M;
    static constexpr size_t sample_bytes = 2;
    using Made = Rule<M, U16, typename AveragesOf<M, S, L, RowIsRed>::Type>;
    using Parity = SiteParity<GreenFirst>;

    TRV_INLINE Step16(const bayer::Lines& line, Parity sites)
        : lines(line), parity(sites), bits(eight_bits<Made, RowIsRed>(line.shift, sites)) {}

    TRV_INLINE Bgr<U16> colours(size_t x) const {
        return joined<RowIsRed>(Made::sites(lines, x, parity), parity);
    }
    TRV_INLINE void operator()(size_t x, uint8_t* out) const {
        const Bgr<U16> low = colours(x), high = colours(x + sizeof(U16) / sample_bytes);
        if constexpr (S == Sums::upper_byte)
            return store_pixels<L>(out, low, high, Bgr<UpperByte>{});
        store_pixels<L>(out, low, high, bits);
    }

    const bayer::Lines& lines;
    Parity parity;
    Bgr<EightBits> bits;
};

}  // namespace
}  // namespace trv::TRV_LEVEL
