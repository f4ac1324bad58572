// Pixels x to x + sizeof(U8) - 1 of 8-bit samples.
#pragma once

#include "image/bayer/rule_pair_medians.h"

namespace trv::TRV_LEVEL {
namespace {

// A vector of bytes at a time, each lane as both kinds of site.
template <typename Rule>
struct ByteStep {
    template <bayer::SpanLayout L, bool RowIsRed, typename T>
    TRV_INLINE static void step(const bayer::Lines& line, size_t x, uint8_t* out, const T& parity) {
        const Sites<U8> sites = Rule::sites(line, x, parity);
        const auto c = joined<RowIsRed>(sites, parity);
        if constexpr (L == bayer::bgrx32) {
            store_three_of_four(out, c.b, c.g, c.r);
        } else if constexpr (has_byte_permutation) {
            if constexpr (L == bayer::bgr24)
                store_three(out, c.b, c.g, c.r);
            else
                store_words(out, c);
        } else {
            const auto green = green_sites<RowIsRed>(sites), colour = colour_sites<RowIsRed>(sites);
            const auto first = parity.first_of(green, colour);
            const auto second = parity.second_of(green, colour);
            if constexpr (L == bayer::bgr24)
                store_three(out, first, second);
            else
                store_words(out, first, second);
        }
    }
};

// What makes the pixels by a rule. Exact means of bytes take three-way logic; without it, pairs of
// pixels in 16-bit lanes are cheaper wherever samples are averaged.
enum class Form8 { bytes, pairs, pair_medians };

consteval Form8 form_of(bayer::SpanRule rule) {
    if (rule == bayer::nearest || has_three_way_logic) return Form8::bytes;
    return rule == bayer::medians ? Form8::pair_medians : Form8::pairs;
}

template <Form8 F, bayer::SpanRule M, bool GreenFirst>
struct Making8 {
    using Step = ByteStep<Rule<M, U8, All<Exact<M, U8>>>>;
};
template <bayer::SpanRule M, bool GreenFirst>
struct Making8<Form8::pairs, M, GreenFirst> {
    using Step = PairStep<M, GreenFirst>;
};
template <bayer::SpanRule M, bool GreenFirst>
struct Making8<Form8::pair_medians, M, GreenFirst> {
    using Step = PairMedians<GreenFirst>;
};

template <bayer::SpanLayout L, bayer::SpanRule M, bool GreenFirst, bool RowIsRed>
struct Step8 {
    static constexpr bayer::SpanLayout layout = L;
    static constexpr bayer::SpanRule rule = M;
    static constexpr size_t sample_bytes = 1;
    using Parity = SiteParity<GreenFirst>;

    TRV_INLINE Step8(const bayer::Lines& line, Parity sites) : lines(line), parity(sites) {}
    TRV_INLINE void operator()(size_t x, uint8_t* out) const {
        Making8<form_of(M), M, GreenFirst>::Step::template step<L, RowIsRed>(lines, x, out, parity);
    }

    const bayer::Lines& lines;
    Parity parity;
};

}  // namespace
}  // namespace trv::TRV_LEVEL
