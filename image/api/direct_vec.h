// The line loops of the vector levels. A kernel says for one rule how a block of pixels is read and
// written; the loop over a line is the same for all.
//
// Blocks are read whole before they are written, and the last block of a line, which overlaps the
// one before it, is read before the first is written: a line may be converted in place wherever no
// destination pixel is wider than its source pixel.
#pragma once

#include "image/api/direct_vec_colour.h"
#include "image/api/direct_vec_grey.h"

namespace trv::TRV_LEVEL {
namespace {

template <typename M>
constexpr bool is_identity = false;
template <int S, int... B>
constexpr bool is_identity<Map<S, B...>> = [] {
    int i = 0;
    return S == sizeof...(B) && ((B == i++) && ...);
}();

template <typename Rule>
constexpr bool is_copy = false;
template <typename M>
constexpr bool is_copy<Bytes<M>> = is_identity<M>;

template <typename Rule>
constexpr int offset_group = 1;
template <int Bits, int Group>
constexpr int offset_group<GreyFour<Packed<Bits, Group>>> = Group;

// Pixels 0 to count - 1 of a line in blocks; the pixels behind the last whole unit are left.
// Fetching both streams ahead is worth a fifth of the time of cold frames on a server core.
template <typename K, size_t Bytes>
inline size_t convert_blocks(const Line& line, size_t count) {
    const Line job = line;
    const size_t last = (count - K::pixels) / K::unit * K::unit;
    const auto source = [&](size_t x)
                            TRV_INLINE_LAMBDA { return job.source + x / K::unit * K::unit_bytes; };
    const auto tail = K::read(source(last), job);
    for (size_t x = 0; x < last; x += K::pixels) {
        prefetch_ahead<K::pixels * Bytes>(job.destination + x * Bytes);
        prefetch_ahead<K::pixels / K::unit * K::unit_bytes>(source(x));
        K::write(job.destination + x * Bytes, K::read(source(x), job));
    }
    K::write(job.destination + last * Bytes, tail);
    return last + K::pixels;
}

// Blocks, then what they leave; lines shorter than a block go to the next narrower level.
template <direct::Reader R, direct::Writer W, typename Rule>
inline void convert_line(const Line& line) {
    using K = Kernel<Rule>;
    if (line.end < K::pixels) return narrower::direct_rows.get(R, W)(line);
    Line rest = line;
    rest.begin = static_cast<uint32_t>(convert_blocks<K, direct::writer_bytes(W)>(line, line.end));
    if (rest.begin < rest.end) scalar::direct_rows.get(R, W)(rest);
}

// A line that begins inside a packing group: up to the next group one by one. The line behind that.
template <direct::Reader R, direct::Writer W, typename Rule>
inline Line behind_first_group(const Line& line) {
    constexpr unsigned group = offset_group<Rule>;
    const unsigned inside = line.packing_offset % group;
    Line head = line, rest = line;
    rest.packing_offset = 0;
    if (inside == 0) return rest;
    head.end = group - inside < line.end ? group - inside : line.end;
    scalar::direct_rows.get(R, W)(head);
    rest.source += Kernel<Rule>::unit_bytes;
    rest.destination += head.end * direct::writer_bytes(W);
    rest.end -= head.end;
    return rest;
}

template <direct::Reader R, direct::Writer W, typename Rule>
void row(const Line& line) {
    if constexpr (is_copy<Rule>)
        __builtin_memmove(line.destination, line.source, line.end * direct::writer_bytes(W));
    else if constexpr (offset_group<Rule> > 1)
        convert_line<R, W, Rule>(behind_first_group<R, W, Rule>(line));
    else
        convert_line<R, W, Rule>(line);
}

}  // namespace
}  // namespace trv::TRV_LEVEL
