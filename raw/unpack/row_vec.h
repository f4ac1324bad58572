// The rows of the vector levels. A sample lies in one or two 16-bit windows of its group's bytes; a
// shuffle brings these into the words of a vector, multiplications move their bits into place.
#pragma once

#include <utility>

#include "image/simd/vec.h"
#include "raw/unpack/row.h"

namespace trv::TRV_LEVEL {
namespace {

using raw::Packing;
using raw::packings;

constexpr int vector_words = static_cast<int>(sizeof(U16)) / 2;

// Bits in a row that lie in two bytes of a group, or in one: then it is the window's upper byte.
struct Window {
    int low, high;  // bytes of the group, or zero
    int bottom;     // where the lowest of the bits is
    bool fits;      // whether the bits follow each other
};

// Bits `from` to `to` - 1 of sample k.
constexpr Window window(const Packing& p, unsigned k, unsigned from, unsigned to) {
    const raw::Place bottom = raw::place(p, k, from), top = raw::place(p, k, to - 1);
    const bool is_one_byte = bottom.byte == top.byte;
    Window w{is_one_byte ? zero : static_cast<int>(bottom.byte), static_cast<int>(top.byte),
             static_cast<int>(bottom.bit) + (is_one_byte ? 8 : 0), true};
    for (unsigned bit = from; bit < to; ++bit) {
        const raw::Place at = raw::place(p, k, bit);
        const int byte = static_cast<int>(at.byte), inside = static_cast<int>(at.bit);
        const bool is_near = byte == w.high || byte == w.low;
        const int found = byte == w.high ? 8 + inside : inside;
        w.fits = w.fits && is_near && found == w.bottom + static_cast<int>(bit - from);
    }
    return w;
}

// How words are made of windows:
//   masked  the sample is the lower bits of its window
//   moved   it is anywhere in its window: moved to the top, then down
//   split   its upper bits are one byte and its others lie in another
//   double  a window for its upper bits, a window for the others
enum class Form : uint8_t { masked, moved, split, two };

constexpr Form form_of(const Packing& p) {
    bool masked = true, moved = true, split = true;
    for (unsigned k = 0; k < p.samples; ++k) {
        const Window whole = window(p, k, 0, p.bits);
        moved = moved && whole.fits;
        masked = masked && whole.fits && whole.bottom == 0;
        split = split && window(p, k, 0, p.bits - 8u).low == zero &&
                window(p, k, p.bits - 8u, p.bits).low == zero;
    }
    return masked ? Form::masked : moved ? Form::moved : split ? Form::split : Form::two;
}

// The lower byte of a window that needs none may be any: the group's first lets both windows of a
// sample come from one load.
constexpr Window from_first_byte(Window w) {
    if (w.low == zero) w.low = 0;
    return w;
}

// What each form takes of sample k: its window, and the factor that moves bits into place.
template <size_t P>
struct Whole {
    static constexpr int bits = packings[P].bits;
    static constexpr Window at(unsigned k) { return window(packings[P], k, 0, bits); }
    static constexpr int factor(unsigned k) { return 1 << (16 - bits - at(k).bottom); }
};

template <size_t P>
struct Upper {
    static constexpr unsigned bits = packings[P].bits;
    static constexpr Window at(unsigned k) {
        return from_first_byte(window(packings[P], k, bits - 8, bits));
    }
    static constexpr int factor(unsigned k) { return 1 << (8 - at(k).bottom); }
};

// The factor is for the upper half of the product: it moves the bits down, their top to bit 7.
template <size_t P>
struct Lower {
    static constexpr int bits = packings[P].bits - 8;
    static constexpr Window at(unsigned k) {
        return from_first_byte(window(packings[P], k, 0, bits));
    }
    static constexpr int factor(unsigned k) { return 1 << (16 - (at(k).bottom + bits - 8)); }
};

template <size_t P>
struct TwoBytes {
    static constexpr int bits = packings[P].bits - 8;
    static constexpr Window at(unsigned k) {
        return {Lower<P>::at(k).high, Upper<P>::at(k).high, Lower<P>::at(k).bottom - 8, true};
    }
    static constexpr int factor(unsigned k) { return 1 << (8 - bits - at(k).bottom); }
};

template <typename Taken, int Bytes, int... I>
auto map_of(std::integer_sequence<int, I...>)
    -> Map<Bytes, (I % 2 == 0 ? Taken::at(I / 2).low : Taken::at(I / 2).high)...>;

template <size_t P, typename Taken>
using MapOf = decltype(map_of<Taken, packings[P].bytes>(
    std::make_integer_sequence<int, 2 * packings[P].samples>{}));

struct Unchanged {
    static constexpr bool words = false;
    TRV_INLINE U8 operator()(U8 v) const { return v; }
};

// A vector of windows, that of word First in its first word, of a block of Room bytes.
template <size_t P, typename Taken, int First, int Room>
TRV_INLINE U16 windows(const uint8_t* source) {
    return as<U16>(gather<MapOf<P, Taken>, 2 * First, Room>(source, Unchanged{}));
}

template <size_t P, typename Taken, int First>
constexpr Lanes<uint16_t, sizeof(U16) / 2> factor_lanes() {
    Lanes<uint16_t, sizeof(U16) / 2> lanes{};
    unsigned k = First % packings[P].samples;
    for (auto& lane : lanes.v) {
        lane = static_cast<uint16_t>(Taken::factor(k));
        k = (k + 1) % packings[P].samples;
    }
    return lanes;
}

template <size_t P, typename Taken, int First>
TRV_INLINE U16 factors() {
    static constexpr auto list = factor_lanes<P, Taken, First>();
    return lanes<U16>(list);
}

template <typename L>
constexpr bool are_ones(const L& list) {
    for (const auto lane : list.v)
        if (lane != 1) return false;
    return true;
}

template <size_t P, typename Taken, int First>
TRV_INLINE U16 moved(U16 v) {
    if constexpr (are_ones(factor_lanes<P, Taken, First>())) return v;
    return v * factors<P, Taken, First>();
}

// Upper byte of a word from one vector, lower byte from another.
template <typename V>
TRV_INLINE U16 bytes_of(V upper, V lower) {
    if constexpr (has_three_way_logic)
        return as<U16>(select(as<U8>(splat<U16>(0xFF00)), as<U8>(upper), as<U8>(lower)));
    else
        return as<U16>(alternate(as<U8>(lower), as<U8>(upper)));
}

template <size_t P, int First, int Room>
TRV_INLINE U16 words(const uint8_t* source) {
    constexpr Form form = form_of(packings[P]);
    constexpr int bits = packings[P].bits;
    if constexpr (form == Form::masked) {
        return windows<P, Whole<P>, First, Room>(source) & splat<U16>((1u << bits) - 1);
    } else if constexpr (form == Form::moved) {
        return moved<P, Whole<P>, First>(windows<P, Whole<P>, First, Room>(source)) >> (16 - bits);
    } else if constexpr (form == Form::split) {
        const U16 v = windows<P, TwoBytes<P>, First, Room>(source);
        return bytes_of(v, moved<P, TwoBytes<P>, First>(v)) >> (16 - bits);
    } else {
        const U16 upper = moved<P, Upper<P>, First>(windows<P, Upper<P>, First, Room>(source));
        const U16 lower =
            mul_high(windows<P, Lower<P>, First, Room>(source), factors<P, Lower<P>, First>());
        return bytes_of(upper, lower) >> (16 - bits);
    }
}

// Bytes of 4:2:2 change places only.
template <size_t P, int... K>
auto chroma_map(std::integer_sequence<int, K...>) -> Map<4, packings[P].high[K] / 8 ...>;

template <size_t P, int First, int Room>
TRV_INLINE U16 pixels_of(const uint8_t* source) {
    if constexpr (packings[P].target == raw::Target::yuv422) {
        using M = decltype(chroma_map<P>(std::make_integer_sequence<int, 4>{}));
        return as<U16>(gather<M, 2 * First, Room>(source, Unchanged{}));
    } else {
        return words<P, First, Room>(source);
    }
}

// Groups that do not fill vectors are long: what is left of one at the end of a line is no loop's
// work either.
template <size_t P>
constexpr bool is_long = vector_words % packings[P].group != 0;

// Two vectors of pixels. Of long groups sixteen, which fill vectors but for the last one of the
// widest; that one overlaps the one before it. The lowest level, which others leave narrow pictures
// to, takes as few groups as fill a vector.
template <size_t P>
struct Block {
    static constexpr int group = packings[P].group;
    static constexpr int fewest = (vector_words + group - 1) / group * group;
    static constexpr int pixels = !is_long<P> ? 2 * vector_words : is_lowest ? fewest : 16 * group;
    static constexpr int bytes = pixels / group * packings[P].bytes;
    static constexpr int vectors = (pixels + vector_words - 1) / vector_words;

    static constexpr int first(int vector) {
        const int latest = pixels - vector_words;
        return vector * vector_words < latest ? vector * vector_words : latest;
    }

    template <int... V>
    TRV_INLINE static void unpack(const uint8_t* from, uint8_t* to,
                                  std::integer_sequence<int, V...>) {
        (store(to + 2 * first(V), pixels_of<P, first(V), bytes>(from)), ...);
    }
};

// Nothing is fetched ahead: the loops are as simple as a copy, and processors follow them by
// themselves.
template <size_t P>
TRV_SHARED void make_blocks(const uint8_t* from, uint8_t* to, size_t count) {
    using B = Block<P>;
    for (; count != 0; --count) {
        B::unpack(from, to, std::make_integer_sequence<int, B::vectors>{});
        from += B::bytes;
        to += B::pixels * raw::pixel_bytes;
    }
}

// Vectors at any place of a long group, as far as one lies within it: shuffle orders, of bytes as
// they follow `byte`, factors, and where bytes end that they need.
template <size_t P>
struct Places {
    static constexpr size_t count = packings[P].group - vector_words + 1;
    static_assert(form_of(packings[P]) == Form::moved);

    consteval Places() {
        for (size_t place = 0; place < count; ++place) {
            const auto first = static_cast<unsigned>(place);
            const int low = Whole<P>::at(first).low;
            byte[place] = static_cast<uint8_t>(low);
            end[place] = static_cast<uint8_t>(Whole<P>::at(first + vector_words - 1).high + 1);
            for (unsigned k = 0; k < vector_words; ++k) {
                const Window w = Whole<P>::at(first + k);
                order[place].v[2 * k] = static_cast<uint8_t>(w.low - low);
                order[place].v[2 * k + 1] = static_cast<uint8_t>(w.high - low);
                factor[place].v[k] = static_cast<uint16_t>(Whole<P>::factor(first + k));
            }
        }
    }

    Lanes<uint8_t, sizeof(U8)> order[count];
    Lanes<uint16_t, vector_words> factor[count];
    uint8_t byte[count], end[count];
};

// So many pixels at least of a long group need as many bytes as a vector has.
template <size_t P>
consteval uint32_t fewest_of_group() {
    uint32_t pixels = vector_words;
    while (raw::bytes_up_to(packings[P], 0, pixels) < sizeof(U8)) ++pixels;
    return pixels;
}

// The first pixels of a long group, `fewest_of_group` or more: vectors, the last of which overlaps
// the one before it, and reads from before its own bytes where the pixels end.
template <size_t P>
TRV_SHARED void unpack_part(const raw::Line& line) {
    static constexpr Places<P> places;
    const size_t last = line.width - vector_words, end = places.end[last];
    for (size_t place = 0;; place = place + vector_words < last ? place + vector_words : last) {
        const size_t latest = end - sizeof(U8), wanted = places.byte[place];
        const size_t from = wanted < latest ? wanted : latest;
        const U8 order = lanes<U8>(places.order[place]) + splat<U8>(wanted - from);
        const U16 v = as<U16>(shuffle(load<U8>(line.source + from), order));
        store(line.destination + place * raw::pixel_bytes,
              v * lanes<U16>(places.factor[place]) >> (16 - packings[P].bits));
        if (place == last) return;
    }
}

// Fewer pixels than a block, or what is left behind the last whole group.
template <size_t P>
TRV_INLINE void unpack_rest(const raw::Line& line) {
    if constexpr (is_long<P> && is_lowest) {
        if (line.width < packings[P].group && line.width >= fewest_of_group<P>())
            return unpack_part<P>(line);
    }
    constexpr bool is_lower_of_use = is_long<P> && !is_lowest;
    (is_lower_of_use ? fallback::unpack_rows : scalar::unpack_rows).row[P](line);
}

// A line that begins with a group: blocks, the last of which overlaps the one before it, then what
// is left behind the last whole group.
template <size_t P>
TRV_INLINE void unpack_groups(const raw::Line& line) {
    constexpr uint32_t pixels = Block<P>::pixels, group = packings[P].group;
    constexpr size_t bytes = packings[P].bytes;
    if (line.width < pixels) {
        if constexpr (is_lowest) return unpack_rest<P>(line);
        return fallback::unpack_rows.row[P](line);
    }
    const size_t last = (line.width - pixels) / group * group, done = last + pixels;
    make_blocks<P>(line.source, line.destination, (last + pixels - 1) / pixels);
    make_blocks<P>(line.source + last / group * bytes, line.destination + last * raw::pixel_bytes,
                   1);
    if (done == line.width) return;
    raw::Line rest = line;
    rest.source += done / group * bytes;
    rest.destination += done * raw::pixel_bytes;
    rest.width -= static_cast<uint32_t>(done);
    unpack_rest<P>(rest);
}

template <size_t P>
void row(const raw::Line& line) {
    if (line.first == 0) return unpack_groups<P>(line);
    raw::Line head = line, rest = line;
    const uint32_t left = packings[P].group - line.first;
    head.width = left < line.width ? left : line.width;
    scalar::unpack_rows.row[P](head);
    if (head.width == line.width) return;
    rest.source += packings[P].bytes;
    rest.destination += head.width * raw::pixel_bytes;
    rest.width -= head.width;
    rest.first = 0;
    unpack_groups<P>(rest);
}

}  // namespace
}  // namespace trv::TRV_LEVEL
