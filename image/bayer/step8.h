// Pixels x to x + sizeof(U8) - 1 of 8-bit samples.
#pragma once

#include "image/bayer/rule_vec.h"
#ifndef TRV_LEVEL_v4
#include "image/bayer/rule_pair_medians.h"
#endif

namespace trv::TRV_LEVEL {
namespace {

template <typename Rule>
struct ByteStep {
    template <bayer::SpanLayout L, bool RowIsRed, typename T>
    TRV_INLINE static void step(const bayer::Line& line, size_t x, uint8_t* out, const T& turns) {
        const Sites<U8> sites = Rule::sites(line, x, turns);
        const auto c = joined<RowIsRed>(sites, turns);
#ifndef TRV_LEVEL_v4
        const auto green = green_sites<RowIsRed>(sites), colour = colour_sites<RowIsRed>(sites);
        const auto first = turns.first_of(green, colour), second = turns.second_of(green, colour);
        if constexpr (L == bayer::bgr24) return store_three(out, first, second);
        if constexpr (L == bayer::rgb16) return store_words(out, first, second);
#else
        if constexpr (L == bayer::bgr24) return store_three(out, c.b, c.g, c.r);
        if constexpr (L == bayer::rgb16) return store_words(out, c);
#endif
        if constexpr (L == bayer::bgrx32) store_three_of_four(out, c.b, c.g, c.r);
    }
};

// Which way a step is made. Below v4, means and medians are made in pairs of pixels; three-way
// logic makes them cheaper in bytes.
template <bayer::SpanLayout L, bayer::SpanRule M, bool GreenFirst>
struct Way8 {
    using Type = ByteStep<Rule<M, U8, All<Exact<M, U8>>>>;
};
#ifndef TRV_LEVEL_v4
template <bayer::SpanLayout L, bool GreenFirst>
struct Way8<L, bayer::means, GreenFirst> {
    using Type = PairStep<bayer::means, GreenFirst>;
};
template <bayer::SpanLayout L, bool GreenFirst>
struct Way8<L, bayer::edge_means, GreenFirst> {
    using Type = PairStep<bayer::edge_means, GreenFirst>;
};
template <bayer::SpanLayout L, bool GreenFirst>
struct Way8<L, bayer::medians, GreenFirst> {
    using Type = PairMedians<GreenFirst>;
};
#endif

template <bayer::SpanLayout L, bayer::SpanRule M, bool GreenFirst, bool RowIsRed>
struct Step8 {
    static constexpr bayer::SpanLayout layout = L;
    static constexpr bayer::SpanRule rule = M;
    static constexpr size_t sample_bytes = 1;
    using Place = Turns<GreenFirst>;

    TRV_INLINE Step8(const bayer::Line& line, Place places) : lines(line), turns(places) {}
    TRV_INLINE void operator()(size_t x, uint8_t* out) const {
        Way8<L, M, GreenFirst>::Type::template step<L, RowIsRed>(lines, x, out, turns);
    }

    const bayer::Line& lines;
    Place turns;
};

}  // namespace
}  // namespace trv::TRV_LEVEL
