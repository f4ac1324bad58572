// The pairs of a line in vectors. Parameters and their legal values:
//   D  depth8, depth16            L  rgb16, bgr24, bgrx32   M  nearest, means, medians, edge_means
//   GreenFirst, RowIsRed          any
// Reads of a line: pixels 0 to 2 * pairs, and one more for every rule but nearest. Writes: pixels 1
// to 2 * pairs; in bgrx32 below AVX-512 the pad bytes between them are stored back as they were.
#pragma once

#include "image/bayer/rule_pairs.h"
#include "image/bayer/rule_vec.h"
#include "image/bayer/span.h"
#include "image/level/vec.h"

namespace trv::TRV_LEVEL {
namespace {

template <bayer::SpanLayout L>
TRV_INLINE void store_pixels(uint8_t* out, U8 red, U8 green, U8 blue) {
    if constexpr (L == bayer::bgr24)
        store_three(out, blue, green, red);
    else if constexpr (L == bayer::bgrx32)
        store_three_of_four(out, blue, green, red);
    else
        store_in_turn(out, words_of<true>(low(red), low(green), low(blue)),
                      words_of<true>(high(red), high(green), high(blue)));
}

constexpr size_t pixel_bytes(bayer::SpanLayout layout) {
    return layout == bayer::rgb16 ? 2 : layout == bayer::bgr24 ? 3 : 4;
}

// Arithmetic per colour where red and green are masked. The blue of a 5-6-5 word is not.
template <bayer::SpanLayout L, bool RowIsRed>
struct MaskedOf {
    using Type = All<Wrapping>;
};
template <bool RowIsRed>
struct MaskedOf<bayer::rgb16, RowIsRed> {
    using Type = Each<Wrapping, Exact<U16>, Wrapping>;
};
template <>
struct MaskedOf<bayer::rgb16, true> {
    using Type = Each<Wrapping, Wrapping, Exact<U16>>;
};

template <bayer::SpanLayout L, bool RowIsRed>
using Masked = typename MaskedOf<L, RowIsRed>::Type;

template <bool RowIsRed>
TRV_INLINE U16 word_of(const Colours<U16>& c) {
    return words_of<true>(RowIsRed ? c.row : c.other, c.green, RowIsRed ? c.other : c.row);
}

// Pixels x to x + sizeof(U8) - 1, x odd, by a rule that ...
// ... has bytes
template <bayer::SpanLayout L, bool RowIsRed>
TRV_INLINE void store_colours(uint8_t* out, const Colours<U8>& c) {
    store_pixels<L>(out, RowIsRed ? c.row : c.other, c.green, RowIsRed ? c.other : c.row);
}

// ... has words of pairs
template <bayer::SpanLayout L, bool RowIsRed>
TRV_INLINE void store_colours(uint8_t* out, const Pairs& pairs) {
    if constexpr (L == bayer::rgb16)
        store_in_turn(out, word_of<RowIsRed>(pairs.first), word_of<RowIsRed>(pairs.second));
    else
        store_colours<L, RowIsRed>(out, joined(pairs));
}

// ... has a word per pixel and is asked twice
template <bayer::SpanLayout L, bool RowIsRed>
TRV_INLINE void store_colours(uint8_t* out, const Colours<U16>& a, const Colours<U16>& b) {
    if constexpr (L == bayer::rgb16) {
        store(out, word_of<RowIsRed>(a));
        store(out + sizeof(U16), word_of<RowIsRed>(b));
    } else {
        store_colours<L, RowIsRed>(out, Colours<U8>{narrow(a.green, b.green), narrow(a.row, b.row),
                                                    narrow(a.other, b.other)});
    }
}

template <bayer::Depth D, bayer::SpanLayout L, bool RowIsRed, typename Rule>
TRV_INLINE void step(const bayer::Line& line, size_t x) {
    uint8_t* out = line.out + x * pixel_bytes(L);
    prefetch_ahead<sizeof(U8) * pixel_bytes(L)>(out);
    if constexpr (D == bayer::depth8)
        store_colours<L, RowIsRed>(out, Rule::colours(line, x));
    else
        store_colours<L, RowIsRed>(out, Rule::colours(line, x),
                                   Rule::colours(line, x + sizeof(U16) / 2));
}

// One body for all vectors of a line: the last one overlaps the one before it.
template <bayer::Depth D, bayer::SpanLayout L, bool RowIsRed, typename Rule>
TRV_INLINE void run_line(const bayer::Line& line) {
    const bayer::Line lines = line;
    const size_t last = lines.pairs * 2 + 1 - sizeof(U8);
    for (size_t x = 1;; x = x + sizeof(U8) < last ? x + sizeof(U8) : last) {
        step<D, L, RowIsRed, Rule>(lines, x);
        if (x == last) break;
    }
}

template <bayer::Depth D, bayer::SpanLayout L, bayer::SpanRule M, bool GreenFirst, bool RowIsRed>
void span(const bayer::Line& line) {
    if (line.pairs * 2 < sizeof(U8))
        return narrower::bayer_spans.get(D, L, M, {GreenFirst, RowIsRed})(line);
    if constexpr (D == bayer::depth8) {
        // Medians are cheaper in bytes, and so are copies unless words are made of them.
        if constexpr (M == bayer::medians || (M == bayer::nearest && L != bayer::rgb16))
            run_line<D, L, RowIsRed, Rule<M, U8, GreenFirst, All<Exact<U8>>>>(line);
        else
            run_line<D, L, RowIsRed, PairRule<M, GreenFirst>>(line);
    } else if constexpr (M == bayer::nearest) {
        run_line<D, L, RowIsRed, Rule<M, U16, GreenFirst, All<Exact<U16>>>>(line);
    } else {
        // What is masked to 8 bits needs no more of a sum than, up to 14 bits per sample, its
        // low 16.
        if (line.shift <= 6)
            run_line<D, L, RowIsRed, Rule<M, U16, GreenFirst, Masked<L, RowIsRed>>>(line);
        else
            run_line<D, L, RowIsRed, Rule<M, U16, GreenFirst, All<Exact<U16>>>>(line);
    }
}

}  // namespace
}  // namespace trv::TRV_LEVEL
