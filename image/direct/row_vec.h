// The line loops of the vector levels. A kernel says for one rule how a block of pixels is read and
// written; the loop over a line is the same for all.
//
// Blocks are read whole before they are written, and the last block of a line, which overlaps the
// one before it, is read before the first is written: a line may be converted in place wherever no
// destination pixel is wider than its source pixel.
#pragma once

#include <bit>

#include "image/direct/colour_vec.h"
#include "image/direct/grey_vec.h"
#include "image/simd/stream.h"

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

// Whether some bytes of the destination stay as they are.
template <typename Rule>
constexpr bool keeps_bytes = false;
template <template <typename> typename Kind, typename M>
constexpr bool keeps_bytes<Kind<M>> = [] {
    if constexpr (requires { M::has_kept(); })
        return M::has_kept();
    else
        return false;
}();

// Whether bytes are moved and little else is done to them.
template <typename Rule>
constexpr bool moves_bytes = false;
template <typename M>
constexpr bool moves_bytes<Bytes<M>> = true;
template <typename M>
constexpr bool moves_bytes<NarrowBytes<M>> = true;
template <int Bits, int Group>
constexpr bool moves_bytes<Unpacked<Bits, Group>> = true;

// Blocks of a line, one after the other.
struct Blocks {
    const uint8_t* from;
    uint8_t* to;
    size_t count;
};
using MakeBlocks = void (*)(const Line&, Blocks);

// What a line has to know of its blocks. A unit is the least that is read: a
// pixel, or the group that packs several. It goes in a register: a table would cost a relocation
// each.
struct RowTraits {
    uint8_t row;
    uint8_t pixel_bytes;                           // of the destination
    uint8_t pixels, unit_bits, unit_bytes, group;  // a unit is 1 << unit_bits pixels
    bool keeps_bytes, moves_bytes;

    constexpr size_t bytes(size_t count) const { return (count >> unit_bits) * unit_bytes; }
};
constexpr size_t longest_block = 512;

template <typename K, size_t Bytes>
TRV_SHARED void make_blocks(const Line& line, Blocks blocks) {
    constexpr size_t block_bytes = K::pixels / K::unit * K::unit_bytes;
    static_assert(block_bytes <= longest_block && K::pixels * Bytes <= longest_block);
    const Line job = line;
    for (; blocks.count != 0; --blocks.count) {
        if (job.memory.fetch_streams) [[likely]] {
            prefetch_ahead<K::pixels * Bytes>(blocks.to);
            prefetch_ahead<block_bytes>(blocks.from);
        }
        K::write(blocks.to, K::read(blocks.from, job));
        blocks.from += block_bytes;
        blocks.to += K::pixels * Bytes;
    }
}

// Made in the nearest cache first, a few blocks at a time, and stored from there.
TRV_SHARED void make_past_caches(const Line& line, RowTraits traits, MakeBlocks make,
                                 Blocks blocks) {
    alignas(sizeof(U8)) uint8_t made[4 * longest_block];
    const size_t bytes = traits.pixels * size_t{traits.pixel_bytes};
    while (blocks.count != 0) {
        const size_t most = sizeof made / bytes;
        const size_t count = blocks.count < most ? blocks.count : most;
        make(line, {blocks.from, made, count});
        blocks.from += traits.bytes(count * traits.pixels);
        blocks.count -= count;
        // While stores wait for memory, the next part of the source is on its way.
        for (size_t at = 0; at < traits.bytes(count * traits.pixels); at += 64)
            __builtin_prefetch(blocks.from + at);
        copy_past_caches(blocks.to, made, count * bytes);
        blocks.to += count * bytes;
    }
}

// Blocks, then pixel by pixel what is left behind the last whole unit; lines shorter than a block
// go to the fallback level.
TRV_SHARED void convert_line(const Line& line, RowTraits traits, MakeBlocks make) {
    const bool by_fallback = has_lane_masks && traits.moves_bytes && line.memory.by_fallback;
    if (line.end < traits.pixels || by_fallback) return fallback::direct_rows.row[traits.row](line);
    const size_t last = size_t{line.end - traits.pixels} >> traits.unit_bits << traits.unit_bits;
    const size_t pixel_bytes = size_t{traits.pixel_bytes};
    const uint8_t* tail = line.source + traits.bytes(last);
    alignas(sizeof(U8)) uint8_t saved[longest_block];
    Line rest = line;
    rest.begin = static_cast<uint32_t>(last + traits.pixels);
    // In place, the block before the last one writes what that reads.
    if (line.destination < tail + traits.bytes(traits.pixels) &&
        tail < line.destination + rest.begin * pixel_bytes) {
        __builtin_memcpy(saved, tail, traits.bytes(traits.pixels));
        tail = saved;
    }
    const Blocks whole{line.source, line.destination, (last + traits.pixels - 1) / traits.pixels};
    if (line.memory.past_caches && !traits.keeps_bytes)
        make_past_caches(line, traits, make, whole);
    else
        make(line, whole);
    make(line, {tail, line.destination + last * pixel_bytes, 1});
    if (rest.begin < rest.end) scalar::direct_rows.row[traits.row](rest);
}

// A line that begins inside a packing group: up to the next group one by one.
TRV_SHARED void convert_from_inside(const Line& line, RowTraits traits, MakeBlocks make) {
    const unsigned inside = line.packing_offset % traits.group;
    Line head = line, rest = line;
    rest.packing_offset = 0;
    if (inside == 0) return convert_line(rest, traits, make);
    head.end = traits.group - inside < line.end ? traits.group - inside : line.end;
    scalar::direct_rows.row[traits.row](head);
    rest.source += traits.unit_bytes;
    rest.destination += head.end * size_t{traits.pixel_bytes};
    rest.end -= head.end;
    convert_line(rest, traits, make);
}

template <size_t Number, typename Rule>
void row(const Line& line) {
    using K = Kernel<Rule>;
    constexpr size_t bytes = routing::table.conversions[Number].destination_bytes;
    constexpr RowTraits traits{uint8_t{Number},        uint8_t{bytes},
                               uint8_t{K::pixels},     uint8_t{std::countr_zero(K::unit)},
                               uint8_t{K::unit_bytes}, uint8_t{offset_group<Rule>},
                               keeps_bytes<Rule>,      moves_bytes<Rule>};
    if constexpr (is_copy<Rule>)
        __builtin_memmove(line.destination, line.source, line.end * bytes);
    else if constexpr (traits.group > 1)
        convert_from_inside(line, traits, make_blocks<K, bytes>);
    else
        convert_line(line, traits, make_blocks<K, bytes>);
}

}  // namespace
}  // namespace trv::TRV_LEVEL
