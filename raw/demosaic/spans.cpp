// The table of demosaicing loops of one level; this file is compiled once per level.
#include "raw/demosaic/span.h"

#ifdef TRV_VECTORS
#include "raw/demosaic/gradient_vec.h"
#else
#include "raw/demosaic/span_scalar.h"
#endif

namespace trv::TRV_LEVEL {
namespace {

using namespace bayer;

template <Depth D, SpanRule M>
consteval void put_words(raw::DemosaicSpans* spans) {
    auto& kinds = spans->words[D][M];
    kinds[0][0] = words<D, M, false, false>;
    kinds[0][1] = words<D, M, false, true>;
    kinds[1][0] = words<D, M, true, false>;
    kinds[1][1] = words<D, M, true, true>;
}

template <Depth D, raw::GradientLayout L>
consteval void put_gradient(raw::DemosaicSpans* spans) {
    auto& kinds = spans->gradient[D][L];
    kinds[0][0] = gradient<D, L, false, false>;
    kinds[0][1] = gradient<D, L, false, true>;
    kinds[1][0] = gradient<D, L, true, false>;
    kinds[1][1] = gradient<D, L, true, true>;
}

template <Depth D>
consteval void put_depth(raw::DemosaicSpans* spans) {
    put_words<D, nearest>(spans);
    put_words<D, means>(spans);
    put_words<D, medians>(spans);
    put_words<D, edge_means>(spans);
    put_gradient<D, raw::three_bytes>(spans);
    put_gradient<D, raw::four_bytes>(spans);
    put_gradient<D, raw::three_words>(spans);
}

consteval raw::DemosaicSpans all_spans() {
    raw::DemosaicSpans spans{};
    put_depth<depth8>(&spans);
    put_depth<depth16>(&spans);
    return spans;
}

}  // namespace

constinit const raw::DemosaicSpans demosaic_spans = all_spans();

}  // namespace trv::TRV_LEVEL
