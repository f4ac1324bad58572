// The pixels of a line by the plain rules. Baseline of every comparison, and what short lines use.
#pragma once

#include <type_traits>

#include "image/bayer/span_scalar.h"
#include "raw/demosaic/gradient.h"
#include "raw/demosaic/words.h"

namespace trv::scalar {
namespace {

template <bayer::Depth D, bayer::SpanRule M, bool GreenFirst, bool RowIsRed>
void words(const bayer::Lines& line) {
    make_pairs<D, layout::Bgr48, M, GreenFirst>(line, RowIsRed);
}

template <raw::GradientLayout L>
using GradientLayoutOf =
    std::conditional_t<L == raw::three_words, layout::Bgr48,
                       std::conditional_t<L == raw::three_bytes, layout::Bgr24, layout::Bgrx32>>;

template <bayer::Depth D, raw::GradientLayout L>
[[gnu::noinline]] void make_gradient(const raw::GradientLines& line, bayer::LineKind kind) {
    using Sample = typename SampleOf<D>::Type;
    using Layout = GradientLayoutOf<L>;
    for (size_t x = 0; x < line.count; ++x) {
        const auto at = static_cast<ptrdiff_t>(x);
        const raw::GradientWindow<Sample> window{line.line, {at - 2, at - 1, at, at + 1, at + 2}};
        raw::store_gradient<Sample, Layout>(window, line, kind.green_first == (x % 2 == 0),
                                            kind.row_is_red, line.out + x * Layout::bytes);
    }
}

template <bayer::Depth D, raw::GradientLayout L, bool GreenFirst, bool RowIsRed>
void gradient(const raw::GradientLines& line) {
    make_gradient<D, L>(line, {GreenFirst, RowIsRed});
}

}  // namespace
}  // namespace trv::scalar
