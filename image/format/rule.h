// The rules of the direct routes, and what a rule comes to between two formats: which bytes go
// where.
#pragma once

#include "image/format/format.h"

namespace trv {

// image/format/routes.inc says what each of them does.
enum class Rule : uint8_t {
    none,
    copy,
    repack,
    narrow,
    word,
    flagged,
    thirty,
    widen,
    widen_next,
    exchange,
    yuv,
    unpack,
    grey,
    low_bits,
    bayer
};

// How the samples of a source are stored.
enum class Storage : uint8_t {
    bytes,
    words,
    fields,  // of one word
    pairs,   // YUV 4:2:2
    packed_least,
    packed_most
};

// A rule between two formats. Pairs that come to the same share their loops.
//
// `from` gives the source byte that each destination byte takes. Where channels become fields of a
// word it gives the first byte of each field's channel instead, from the lowest field on. Words are
// narrowed first, so their low bytes count. Fields and YUV become blue, green and red first, bytes
// 0, 1 and 2.
struct Conversion {
    static constexpr int8_t zero = -1;  // the destination byte is 0
    static constexpr int8_t keep = -2;  // the destination byte is not written

    Rule rule;
    Storage storage;
    bool one_value;             // of a source pixel, for all channels
    bool six_green;             // words of 5-6-5 bits, not of 5-5-5
    uint8_t stored;             // bits of a source pixel
    uint8_t group;              // source pixels that share whole bytes
    uint8_t destination_bytes;  // of a pixel
    int8_t from[8];

    constexpr bool operator==(const Conversion&) const = default;

    // Pixels of 4 bytes may have one at either end that keeps what it holds.
    constexpr bool keeps_first() const { return from[0] == keep; }
    constexpr bool keeps_last() const { return from[destination_bytes - 1] == keep; }
};

namespace routing {

// Never defined: a row of routes.inc that reaches it ends the build.
void rule_does_not_suit_these_formats();

constexpr Storage storage_of(const Format& format) {
    if (is_packed(format))
        return format.order == BitOrder::most ? Storage::packed_most : Storage::packed_least;
    if (format.family == Family::yuv) return Storage::pairs;
    if (format.family == Family::word) return Storage::fields;
    return sample_bytes(format) == 1 ? Storage::bytes : Storage::words;
}

constexpr bool has_word(const Format& format, int low, int middle, int high) {
    const Field* f = format.fields;
    return format.family == Family::word && f[0].bit == 0 && f[0].bits == low && f[1].bit == low &&
           f[1].bits == middle && f[2].bit == low + middle && f[2].bits == high;
}

constexpr bool is_short_word(const Format& format) {
    return format.stored == 16 && (has_word(format, 5, 5, 5) || has_word(format, 5, 6, 5));
}

constexpr bool is_thirty(const Format& format) {
    return format.stored == 32 && has_word(format, 10, 12, 10);
}

// What fields and YUV are taken apart into.
inline constexpr Field blue_green_red[4] = {
    {Channel::B, 0, 8}, {Channel::G, 8, 8}, {Channel::R, 16, 8}, {Channel::none, 0, 0}};

// First byte of what fills a channel: the same one, the only one of grey, alpha for a pad.
constexpr int first_byte(const Field* fields, Channel channel) {
    for (int i = 0; i < 4; ++i) {
        const Channel found = fields[i].channel;
        const bool stands_in = (channel == Channel::X && found == Channel::A) ||
                               (channel == Channel::A && found == Channel::X);
        if (found == channel || found == Channel::M || stands_in) return fields[i].bit / 8;
    }
    return Conversion::keep;
}

// The bytes of a pixel, each sample by the first `taken` bytes of the source's and then zeros.
constexpr void map_bytes(const Field* fields, int taken, const Format& to, Conversion* made) {
    const int count = static_cast<int>(sample_bytes(to));
    for (const Field& field : to.fields)
        for (int i = 0; field.channel != Channel::none && i < count; ++i) {
            const int first = first_byte(fields, field.channel);
            const int byte = first < 0 ? first : i < taken ? first + i : Conversion::zero;
            made->from[field.bit / 8 + i] = static_cast<int8_t>(byte);
        }
}

constexpr void map_fields(const Field* fields, const Format& to, Conversion* made) {
    for (int i = 0; i < 3; ++i)
        made->from[i] = static_cast<int8_t>(first_byte(fields, to.fields[i].channel));
}

// Each says whether its rule suits the two formats.

constexpr bool repack(const Format& from, const Format& to, Conversion* made) {
    if (from.family == Family::word) {
        for (int i = 0; i < made->destination_bytes; ++i) made->from[i] = static_cast<int8_t>(i);
        return from.code == to.code;
    }
    const uint32_t bytes = sample_bytes(from);
    map_bytes(from.fields, static_cast<int>(bytes), to, made);
    return (bytes == 1 || bytes == 2) && bytes <= sample_bytes(to);
}

constexpr bool narrow(const Format& from, const Format& to, Conversion* made) {
    const bool apart = made->storage == Storage::fields;
    map_bytes(apart ? blue_green_red : from.fields, 1, to, made);
    return (apart ? is_thirty(from) : made->storage == Storage::words) && sample_bytes(to) == 1;
}

constexpr bool word(const Format& from, const Format& to, Conversion* made) {
    made->six_green = to.fields[1].bits == 6;
    if (made->one_value) return is_short_word(to) && made->storage != Storage::packed_least;
    const bool apart = made->storage == Storage::fields;
    map_fields(apart ? blue_green_red : from.fields, to, made);
    return is_short_word(to) && (apart ? is_thirty(from) : made->storage == Storage::bytes);
}

constexpr bool flagged(const Format& from, const Format& to, Conversion* made) {
    map_fields(from.fields, to, made);
    return is_short_word(to) && from.stored == 48 && made->storage == Storage::words;
}

constexpr bool thirty(const Format& from, const Format& to, Conversion* made) {
    map_fields(from.fields, to, made);
    made->from[3] = Conversion::zero;
    return is_thirty(to) && (made->storage == Storage::bytes ||
                             (made->storage == Storage::words && from.significant >= 10));
}

constexpr bool widen(const Format& from, const Format& to, Channel lowest) {
    return is_thirty(from) && from.fields[0].channel == Channel::B && to.stored == 48 &&
           to.fields[0].channel == lowest;
}

constexpr bool exchange(const Format& from, const Format& to) {
    return is_thirty(from) && is_thirty(to) && from.fields[0].channel == to.fields[2].channel;
}

constexpr bool yuv(const Format& to, Conversion* made) {
    map_bytes(blue_green_red, 1, to, made);
    return made->storage == Storage::pairs && sample_bytes(to) == 1 && to.stored >= 24;
}

// Loops of 12 bits, least significant first, take the low 8 of them; all others take the top 8.
constexpr bool spread(const Conversion& made, const Format& to, bool top) {
    const bool most = made.storage == Storage::packed_most;
    if (!most && made.storage != Storage::packed_least) return false;
    return top == (most || made.stored != 12) && sample_bytes(to) == 1 && to.stored >= 24;
}

constexpr bool apply(const Format& from, const Format& to, Conversion* made) {
    switch (made->rule) {
        case Rule::none:
            return false;
        case Rule::copy:
            return from.code == to.code;
        case Rule::repack:
            return repack(from, to, made);
        case Rule::narrow:
            return narrow(from, to, made);
        case Rule::word:
            return word(from, to, made);
        case Rule::flagged:
            return flagged(from, to, made);
        case Rule::thirty:
            return thirty(from, to, made);
        case Rule::widen:
            return widen(from, to, Channel::B);
        case Rule::widen_next:
            return widen(from, to, Channel::R);
        case Rule::exchange:
            return exchange(from, to);
        case Rule::yuv:
            return yuv(to, made);
        case Rule::unpack:
            return made->storage == Storage::packed_least && sample_bytes(to) == 2;
        case Rule::grey:
            return spread(*made, to, true);
        case Rule::low_bits:
            return spread(*made, to, false);
        case Rule::bayer:
            return from.family == Family::bayer;
    }
    return false;
}

consteval Conversion make_conversion(Rule rule, const Format& from, const Format& to) {
    Conversion made{rule,        storage_of(from), from.fields[1].channel == Channel::none, false,
                    from.stored, from.group,       static_cast<uint8_t>(to.stored / 8),     {}};
    if (!apply(from, to, &made)) rule_does_not_suit_these_formats();
    return made;
}

}  // namespace routing

}  // namespace trv
