// The pairs of a line in vectors, as words of colour: the rules of image/bayer/rule_vec.h, whole
// means of them.
#pragma once

#include "image/bayer/rule_vec.h"
#include "raw/demosaic/span.h"

namespace trv::TRV_LEVEL {
namespace {

TRV_INLINE void store_as_words(uint8_t* out, const Bgr<U16>& c) {
    store_three_words(out, c.b, c.g, c.r);
}
TRV_INLINE void store_as_words(uint8_t* out, const Bgr<U8>& c) {
    store_three_words(out, widen_low(c.b), widen_low(c.g), widen_low(c.r));
    store_three_words(out + 3 * sizeof(U16), widen_high(c.b), widen_high(c.g), widen_high(c.r));
}

template <bayer::Depth D>
using SampleVector = std::conditional_t<D == bayer::depth8, U8, U16>;

template <typename V>
constexpr size_t lane_count = sizeof(V) / sizeof(V{}[0]);

constexpr size_t word_pixel = 3 * sizeof(uint16_t);

// How many pixels before `out` there is one that a cache line begins with.
TRV_INLINE size_t pixels_behind_cache_line(const uint8_t* out) {
    const size_t bytes = reinterpret_cast<uintptr_t>(out) % 64;
    return bytes % 2 == 0 ? bytes / 2 * 11 % 32 : 0;  // 3 * 11 is 1 modulo 32
}

// The vectors from place `first` to place `last`, which begin at odd places or at even ones.
template <bayer::Depth D, bayer::SpanRule M, bool GreenFirst, bool RowIsRed>
TRV_INLINE void make_part(const bayer::Lines& lines, bool green_first, size_t first, size_t last) {
    using V = SampleVector<D>;
    using Made = Rule<M, V, All<Exact<M, V>>>;
    constexpr size_t count = lane_count<V>;
    // Of the lines read, this one was not read before.
    const uint8_t* new_line = M == bayer::nearest ? lines.line : lines.below;
    const SiteParity<GreenFirst> parity(green_first, first);
    for (size_t x = first;; x = x + count < last ? x + count : last) {
        uint8_t* out = lines.out + x * word_pixel;
        if (lines.memory.fetch_distance != 0) [[likely]] {
            prefetch_ahead<count * word_pixel>(out, lines.memory.fetch_distance);
            prefetch_ahead<sizeof(V)>(new_line + x * sizeof(V{}[0]), lines.memory.fetch_distance);
        }
        store_as_words(out, joined<RowIsRed>(Made::sites(lines, x, parity), parity));
        if (x == last) break;
    }
}

// Lines have no fewer pixels than a vector. Where vectors may begin anywhere, the first and the
// last one are made apart, so that the stores between them begin with cache lines.
template <bayer::Depth D, bayer::SpanRule M, bool GreenFirst, bool RowIsRed>
TRV_SHARED void make_words(const bayer::Lines& line, bool green_first) {
    constexpr size_t count = lane_count<SampleVector<D>>;
    const bayer::Lines lines = line;
    const size_t last = lines.pairs * 2 + 1 - count;
    size_t starts[] = {1, 1, last}, ends[] = {1, last, last};
    size_t part = 1, parts = 2;
    if (has_lane_masks && last > count + 1) {
        starts[1] = count + 1 - pixels_behind_cache_line(lines.out + (count + 1) * word_pixel);
        ends[1] = starts[1] + (last - 1 - starts[1]) / count * count;
        part = 0;
        parts = 3;
    }
    for (; part < parts; ++part)
        make_part<D, M, GreenFirst, RowIsRed>(lines, green_first, starts[part], ends[part]);
}

template <bayer::Depth D, bayer::SpanRule M, bool GreenFirst, bool RowIsRed>
void words(const bayer::Lines& line) {
    // Where the parity is a mask, lines of both kinds have one loop. The first and the last line of
    // a picture are not worth code of the higher levels.
    constexpr bool first = has_lane_masks || GreenFirst;
    constexpr bool by_fallback = M == bayer::edge_means && !is_lowest;
    if constexpr (!by_fallback) {
        if (line.pairs * 2 >= lane_count<SampleVector<D>>)
            return make_words<D, M, first, RowIsRed>(line, GreenFirst);
    }
    fallback::demosaic_spans.words[D][M][GreenFirst][RowIsRed](line);
}

}  // namespace
}  // namespace trv::TRV_LEVEL
