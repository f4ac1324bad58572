// The pairs of a line in vectors. Parameters and their legal values:
//   D  depth8, depth16            L  rgb16, bgr24, bgrx32   M  nearest, means, medians, edge_means
//   GreenFirst, RowIsRed          any
// Reads of a line: pixels 0 to 2 * pairs, and one more for every rule but nearest. Writes: pixels 1
// to 2 * pairs; in bgrx32, but for 16-bit samples with AVX-512, the pad bytes between them are
// stored back as they were.
#pragma once

#include "image/bayer/rule_vec.h"
#ifndef TRV_LEVEL_v4
#include "image/bayer/rule_pairs.h"
#endif
#include "image/bayer/span.h"
#include "image/level/vec.h"

namespace trv::TRV_LEVEL {
namespace {

constexpr size_t pixel_bytes(bayer::SpanLayout layout) {
    return layout == bayer::rgb16 ? 2 : layout == bayer::bgr24 ? 3 : 4;
}

// Colours of the pixels that are green sites, and of those that are not.
template <bool RowIsRed, typename V>
TRV_INLINE Bgr<V> green_sites(const Sites<V>& s) {
    return channels<RowIsRed>(s.own, s.beside, s.vertical);
}
template <bool RowIsRed, typename V>
TRV_INLINE Bgr<V> colour_sites(const Sites<V>& s) {
    return channels<RowIsRed>(s.plus, s.own, s.cross);
}

// Bits between a sample and the 8 bits that a colour keeps of it or of its sums.
template <typename Rule, bool GreenFirst, bool RowIsRed>
TRV_INLINE Bgr<EightBits> eight_bits(unsigned shift) {
    constexpr SumBits b = Rule::bits;
    const auto bits = [&](unsigned at_green, unsigned at_colour) TRV_INLINE_LAMBDA {
        return EightBits(shift + first_of<GreenFirst>(at_green, at_colour),
                         shift + first_of<!GreenFirst>(at_green, at_colour));
    };
    return channels<RowIsRed>(bits(0, b.plus), bits(b.beside, 0), bits(b.vertical, b.cross));
}

template <bool GreenFirst, bool RowIsRed, typename V>
TRV_INLINE Bgr<V> joined(const Sites<V>& s) {
    const Bgr<V> green = green_sites<RowIsRed>(s), colour = colour_sites<RowIsRed>(s);
    return {in_place<GreenFirst>(green.b, colour.b), in_place<GreenFirst>(green.g, colour.g),
            in_place<GreenFirst>(green.r, colour.r)};
}

// Pixels x to x + sizeof(U8) - 1 of 8-bit samples ...
template <typename Rule, bool GreenFirst>
struct ByteStep {
    template <bayer::SpanLayout L, bool RowIsRed>
    TRV_INLINE static void step(const bayer::Line& line, size_t x, uint8_t* out) {
        const Sites<U8> sites = Rule::sites(line, x);
        const auto green = green_sites<RowIsRed>(sites), colour = colour_sites<RowIsRed>(sites);
        const auto first = first_of<GreenFirst>(green, colour);
        const auto second = first_of<!GreenFirst>(green, colour);
        if constexpr (L == bayer::bgr24)
            store_three(out, first, second);
        else if constexpr (L == bayer::bgrx32)
            store_three_of_four(out, alternate(first.b, second.b), alternate(first.g, second.g),
                                alternate(first.r, second.r));
        else
            store_words(out, first, second);
    }
};

// ... and of 16-bit samples.
template <bayer::SpanLayout L, typename Rule, bool GreenFirst, bool RowIsRed>
TRV_INLINE void step16(const bayer::Line& line, size_t x, const Bgr<EightBits>& bits,
                       uint8_t* out) {
    const Bgr<U16> low = joined<GreenFirst, RowIsRed>(Rule::sites(line, x));
    const Bgr<U16> high =
        joined<GreenFirst, RowIsRed>(Rule::sites(line, x + sizeof(U16) / sizeof(uint16_t)));
    if constexpr (L == bayer::bgr24) {
        store_three(out, low, high, bits);
    } else if constexpr (L == bayer::bgrx32) {
        store_three_of_four(out, low, high, bits);
    } else {
        store(out, EightBits::word(low, bits));
        store(out + sizeof(U16), EightBits::word(high, bits));
    }
}

// The kind of average a rule's colours are, by a kind of mean.
template <bayer::SpanRule M, typename V, typename Mean>
struct AverageOf {
    using Type = Mean;
};
template <typename V, typename Mean>
struct AverageOf<bayer::medians, V, Mean> {
    using Type = Median<V, Mean>;
};

template <bayer::SpanRule M, typename V>
using Exact = typename AverageOf<M, V, ExactMean<V>>::Type;
template <bayer::SpanRule M>
using Wrapping = typename AverageOf<M, U16, WrappingMean<U16>>::Type;

// What is masked to 8 bits needs no more of a sum than, up to 14 bits per sample, its low 16. The
// blue of a 5-6-5 word is not masked.
template <bayer::SpanRule M, bayer::SpanLayout L, bool RowIsRed>
struct MaskedOf {
    using Type = All<Wrapping<M>>;
};
template <bayer::SpanRule M>
struct MaskedOf<M, bayer::rgb16, false> {
    using Type = Each<Wrapping<M>, Exact<M, U16>, Wrapping<M>>;
};
template <bayer::SpanRule M>
struct MaskedOf<M, bayer::rgb16, true> {
    using Type = Each<Wrapping<M>, Wrapping<M>, Exact<M, U16>>;
};

// How a step of 8-bit samples is made. Means are made in pairs of pixels unless three-way logic
// makes them cheaper in bytes.
template <bayer::SpanRule M, bool GreenFirst>
struct Step8 {
    using Type = ByteStep<Rule<M, U8, GreenFirst, All<Exact<M, U8>>>, GreenFirst>;
};
#ifndef TRV_LEVEL_v4
template <bool GreenFirst>
struct Step8<bayer::means, GreenFirst> {
    using Type = PairStep<bayer::means, GreenFirst>;
};
template <bool GreenFirst>
struct Step8<bayer::edge_means, GreenFirst> {
    using Type = PairStep<bayer::edge_means, GreenFirst>;
};
#endif

// How a step of 16-bit samples is made.
template <bayer::SpanLayout L, bayer::SpanRule M, bool Masked, bool GreenFirst, bool RowIsRed>
struct Rule16 {
    using Averages =
        std::conditional_t<Masked, typename MaskedOf<M, L, RowIsRed>::Type, All<Exact<M, U16>>>;
    using Type = Rule<M, U16, GreenFirst, Averages>;
};

// One body for all vectors of a line: the last one overlaps the one before it. Lines have no fewer
// pixels than a vector.
template <bayer::Depth D, bayer::SpanLayout L, bayer::SpanRule M, bool Masked, bool GreenFirst,
          bool RowIsRed>
TRV_SHARED void make_vectors(const bayer::Line& line) {
    const bayer::Line lines = line;
    // Of the lines read, this one was not read before.
    const uint8_t* new_line = M == bayer::nearest ? lines.line : lines.below;
    constexpr size_t sample_bytes = D == bayer::depth8 ? 1 : 2;
    const size_t last = lines.pairs * 2 + 1 - sizeof(U8);
    const auto run = [&](const auto& step) TRV_INLINE_LAMBDA {
        for (size_t x = 1;; x = x + sizeof(U8) < last ? x + sizeof(U8) : last) {
            uint8_t* out = lines.out + x * pixel_bytes(L);
            if (lines.fetch_ahead) [[likely]] {
                prefetch_ahead<sizeof(U8) * pixel_bytes(L)>(out);
                prefetch_ahead<sizeof(U8) * sample_bytes>(new_line + x * sample_bytes);
            }
            step(x, out);
            if (x == last) break;
        }
    };
    if constexpr (D == bayer::depth8) {
        run([&](size_t x, uint8_t* out) TRV_INLINE_LAMBDA {
            Step8<M, GreenFirst>::Type::template step<L, RowIsRed>(lines, x, out);
        });
    } else {
        using Rule = typename Rule16<L, M, Masked, GreenFirst, RowIsRed>::Type;
        const auto bits = eight_bits<Rule, GreenFirst, RowIsRed>(lines.shift);
        run([&](size_t x, uint8_t* out)
                TRV_INLINE_LAMBDA { step16<L, Rule, GreenFirst, RowIsRed>(lines, x, bits, out); });
    }
}

// One kind of line. It goes in a register, and what makes its vectors in another: a table of them
// all would cost each a relocation per pointer.
struct Kind {
    bayer::Depth depth;
    bayer::SpanLayout layout;
    bayer::SpanRule rule;
    bayer::LineKind line;
};

TRV_SHARED void make_line(const bayer::Line& line, Kind kind, bayer::Span make) {
    if (line.pairs * 2 < sizeof(U8))
        narrower::bayer_spans.get(kind.depth, kind.layout, kind.rule, kind.line)(line);
    else
        make(line);
}

template <bayer::Depth D, bayer::SpanLayout L, bayer::SpanRule M, bool GreenFirst, bool RowIsRed>
void span(const bayer::Line& line) {
    constexpr Kind kind{D, L, M, {GreenFirst, RowIsRed}};
    // Sums may wrap up to 14 bits per sample. The narrowest level does without: two loops per kind
    // of line are for those that most machines run.
    constexpr bool may_wrap = D == bayer::depth16 && M != bayer::nearest && sizeof(U8) > 16;
    // The first and the last line of a picture are not worth code of the wider levels, and 4-byte
    // pixels of 8-bit samples are faster by the next one: masked stores that cross cache lines take
    // longer than its loads and blends.
    constexpr bool by_narrower = (M == bayer::edge_means && sizeof(U8) > 16) ||
                                 (D == bayer::depth8 && L == bayer::bgrx32 && sizeof(U8) == 64);
    if constexpr (by_narrower)
        narrower::bayer_spans.get(D, L, M, kind.line)(line);
    else
        make_line(line, kind,
                  may_wrap && line.shift <= 6
                      ? make_vectors<D, L, M, may_wrap, GreenFirst, RowIsRed>
                      : make_vectors<D, L, M, false, GreenFirst, RowIsRed>);
}

}  // namespace
}  // namespace trv::TRV_LEVEL
