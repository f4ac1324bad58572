// The pairs of a line in vectors. Parameters and their legal values:
//   D  depth8, depth16            L  rgb16, bgr24, bgrx32   M  nearest, means, medians, edge_means
//   GreenFirst, RowIsRed          any
// Reads of a line: pixels 0 to 2 * pairs, and one more for every rule but nearest. Writes: pixels 1
// to 2 * pairs; in bgrx32, where it is not stored under a mask, the pad bytes between them are
// stored back as they were.
#pragma once

#include "image/bayer/span.h"
#include "image/bayer/step16.h"
#include "image/bayer/step8.h"
#include "image/simd/vec.h"

namespace trv::TRV_LEVEL {
namespace {

constexpr size_t pixel_bytes(bayer::SpanLayout layout) {
    return layout == bayer::rgb16 ? 2 : layout == bayer::bgr24 ? 3 : 4;
}

// Where the vectors of a line begin: parts of it from a first place to a last one each, the last
// vector of a part overlapping the one before it where it has to. Vectors of one part begin at odd
// places or at even ones.
struct Parts {
    struct Part {
        size_t first, last;
    };
    size_t count;
    Part part[3];
};

// How many pixels before `out` there is one that a cache line begins with.
template <size_t PixelBytes>
TRV_INLINE size_t behind_cache_line(const uint8_t* out) {
    const size_t bytes = reinterpret_cast<uintptr_t>(out) % 64;
    if constexpr (PixelBytes == 3) return bytes * 43 % 64;  // 3 * 43 is 1 modulo 64
    return bytes % PixelBytes == 0 ? bytes / PixelBytes : 0;
}

// Whether the first vector and the last one are made apart, so that the stores between them begin
// with cache lines. They do so at the price of loads that do not, which may be worth it where most
// is stored per sample.
template <typename Step>
TRV_INLINE bool aligns_stores(const bayer::Lines& line) {
    if constexpr (!has_lane_masks || Step::sample_bytes == 2 || Step::layout == bayer::rgb16)
        return false;
    else
        return line.memory.aligned_stores;
}

template <typename Step>
TRV_INLINE Parts parts_of(const bayer::Lines& line) {
    constexpr size_t width = sizeof(U8), pixel = pixel_bytes(Step::layout);
    const size_t last = line.pairs * 2 + 1 - width;
    if (!aligns_stores<Step>(line) || last <= width + 1) return {1, {{1, last}}};
    const size_t first = width + 1 - behind_cache_line<pixel>(line.out + (width + 1) * pixel);
    return {3, {{1, 1}, {first, first + (last - 1 - first) / width * width}, {last, last}}};
}

// One body for all vectors of a line. Lines have no fewer pixels than a vector.
template <typename Step>
TRV_SHARED void make_vectors(const bayer::Lines& line, bool green_first) {
    const bayer::Lines lines = line;
    constexpr size_t pixel = pixel_bytes(Step::layout), sample = Step::sample_bytes;
    // Of the lines read, this one was not read before.
    const uint8_t* new_line = Step::rule == bayer::nearest ? lines.line : lines.below;
    const Parts parts = parts_of<Step>(lines);
    for (size_t i = 0; i < parts.count; ++i) {
        const auto [first, last] = parts.part[i];
        const Step step(lines, typename Step::Parity(green_first, first));
        for (size_t x = first;; x = x + sizeof(U8) < last ? x + sizeof(U8) : last) {
            uint8_t* out = lines.out + x * pixel;
            if (lines.memory.fetch_distance != 0) [[likely]] {
                prefetch_ahead<sizeof(U8) * pixel>(out, lines.memory.fetch_distance);
                prefetch_ahead<sizeof(U8) * sample>(new_line + x * sample,
                                                    lines.memory.fetch_distance);
            }
            step(x, out);
            if (x == last) break;
        }
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

using MakeVectors = void (*)(const bayer::Lines&, bool green_first);

// By the fallback level where there is nothing to make it with, or less than a vector to make.
TRV_SHARED void make_line(const bayer::Lines& line, Kind kind, MakeVectors make) {
    if (make == nullptr || line.pairs * 2 < sizeof(U8))
        fallback::bayer_spans.get(kind.depth, kind.layout, kind.rule, kind.line)(line);
    else
        make(line, kind.line.green_first);
}

template <bayer::SpanLayout L, bayer::SpanRule M, bool GreenFirst, bool RowIsRed>
TRV_INLINE MakeVectors maker16(unsigned shift) {
    const auto by = []<Sums S>() TRV_INLINE_LAMBDA {
        return make_vectors<Step16<L, M, S, GreenFirst, RowIsRed>>;
    };
    // The lowest level always keeps whole sums: two loops per kind of line are for those that
    // most machines run. 15 bits per sample, which no format has, are left to it.
    if constexpr (M == bayer::nearest || is_lowest)
        return by.template operator()<Sums::whole>();
    else if constexpr (has_lane_masks)
        return shift <= 6 ? by.template operator()<Sums::wrapping>()
                          : by.template operator()<Sums::whole>();
    else if (shift <= 6)
        return by.template operator()<Sums::wrapping>();
    else
        return shift == 8 ? by.template operator()<Sums::upper_byte>() : nullptr;
}

template <bayer::Depth D, bayer::SpanLayout L, bayer::SpanRule M, bool GreenFirst, bool RowIsRed>
void span(const bayer::Lines& line) {
    constexpr Kind kind{D, L, M, {GreenFirst, RowIsRed}};
    // Where the parity is a mask, lines of both kinds have one loop.
    constexpr bool first = has_lane_masks || GreenFirst;
    // The first and the last line of a picture are not worth code of the higher levels.
    if constexpr (M == bayer::edge_means && !is_lowest)
        fallback::bayer_spans.get(D, L, M, kind.line)(line);
    else if constexpr (D == bayer::depth16)
        make_line(line, kind, maker16<L, M, first, RowIsRed>(line.shift));
    else if (has_lane_masks && line.memory.by_fallback)
        make_line(line, kind, nullptr);
    else
        make_line(line, kind, make_vectors<Step8<L, M, first, RowIsRed>>);
}

}  // namespace
}  // namespace trv::TRV_LEVEL
