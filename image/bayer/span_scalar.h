// The pairs of a line by the plain rules. Baseline of every comparison, and what short lines use.
#pragma once

#include "image/bayer/rule.h"

namespace trv::scalar {
namespace {

template <bayer::Depth D>
struct SampleOf {
    using Type = uint8_t;
};
template <>
struct SampleOf<bayer::depth16> {
    using Type = uint16_t;
};

template <bayer::SpanLayout L>
struct LayoutOf {
    using Type = layout::Bgr24;
};
template <>
struct LayoutOf<bayer::bgrx32> {
    using Type = layout::Bgrx32;
};
template <>
struct LayoutOf<bayer::rgb16> {
    using Type = layout::Rgb16;
};

template <bayer::SpanRule M>
struct RuleOf {
    using Type = bayer::Nearest;
};
template <>
struct RuleOf<bayer::means> {
    using Type = bayer::Means;
};
template <>
struct RuleOf<bayer::medians> {
    using Type = bayer::Medians;
};
template <>
struct RuleOf<bayer::edge_means> {
    using Type = bayer::EdgeMeans;
};

// Short lines are not worth a loop per kind of line: which of red and blue the line has is asked at
// every pixel.
template <bayer::Depth D, typename Layout, bayer::SpanRule M, bool GreenFirst>
[[gnu::noinline]] void make_pairs(const bayer::Lines& line, bool row_is_red) {
    using Rule = typename RuleOf<M>::Type;
    using Window = bayer::Window<typename SampleOf<D>::Type>;
    uint8_t* out = line.out + Layout::bytes;
    for (size_t x = 1; x < line.pairs * 2; x += 2, out += 2 * Layout::bytes) {
        const Window first{line, x}, second{line, x + 1};
        bayer::store<Layout>(out, GreenFirst ? Rule::colour(first) : Rule::green(first),
                             row_is_red);
        bayer::store<Layout>(out + Layout::bytes,
                             GreenFirst ? Rule::green(second) : Rule::colour(second), row_is_red);
    }
}

template <bayer::Depth D, bayer::SpanLayout L, bayer::SpanRule M, bool GreenFirst, bool RowIsRed>
void span(const bayer::Lines& line) {
    make_pairs<D, typename LayoutOf<L>::Type, M, GreenFirst>(line, RowIsRed);
}

}  // namespace
}  // namespace trv::scalar
