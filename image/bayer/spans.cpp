// The table of pair loops of one level; this file is compiled once per level.
#include "image/bayer/span.h"

#ifdef TRV_VECTORS
#include "image/bayer/span_vec.h"
#else
#include "image/bayer/span_scalar.h"
#endif

namespace trv::TRV_LEVEL {
namespace {

using namespace bayer;

template <Depth D, SpanLayout L, SpanRule M>
consteval void put(Spans* spans) {
    auto& kinds = spans->span[D][L][M];
    kinds[0][0] = span<D, L, M, false, false>;
    kinds[0][1] = span<D, L, M, false, true>;
    kinds[1][0] = span<D, L, M, true, false>;
    kinds[1][1] = span<D, L, M, true, true>;
}

template <Depth D, SpanLayout L>
consteval void put_rules(Spans* spans) {
    put<D, L, nearest>(spans);
    put<D, L, means>(spans);
    put<D, L, medians>(spans);
    put<D, L, edge_means>(spans);
}

template <Depth D>
consteval void put_layouts(Spans* spans) {
    put_rules<D, rgb16>(spans);
    put_rules<D, bgr24>(spans);
    put_rules<D, bgrx32>(spans);
}

consteval Spans all_spans() {
    Spans spans{};
    put_layouts<depth8>(&spans);
    put_layouts<depth16>(&spans);
    return spans;
}

}  // namespace

constinit const Spans bayer_spans = all_spans();

}  // namespace trv::TRV_LEVEL
