// Whose bit each bit of a stored pixel group is, and what pages say about a format.
#pragma once

#include <string>
#include <vector>

#include "image/format/format.h"
#include "image/format/routes.h"

namespace page {

using trv::Family;
using trv::Format;

// `owner` r g b a: a colour or alpha; m: grey; s: a mosaic's sample; a to d: pixels of a packed
// group; y z u v: two luminances and the chrominance; 0: an unused bit; -: a pad byte's.
struct Bit {
    char owner;
    unsigned index;  // place in the value, 0 being the lowest
};

inline char channel_letter(char name) {
    return name == 'X' ? '-' : static_cast<char>(name - 'A' + 'a');
}

// Channels one after another, each in whole bytes: BGR24, XRGB32, RGBA64_12, ...
inline Bit channel_bit(const Format& f, unsigned bit) {
    const unsigned channels = f.name[3] == '3' || f.name[3] == '2' || f.name[3] == '4' ? 3 : 4;
    const unsigned width = f.stored / channels, index = bit % width;
    return {index < f.significant ? channel_letter(f.name[bit / width]) : '0', index};
}

// Fields of one word, the first letter of the name on top.
inline Bit word_bit(const Format& f, unsigned bit) {
    const bool thirty = f.stored == 32;
    const unsigned green = thirty ? 10 : 5;
    const unsigned top = thirty ? 22 : f.significant == 5 ? 10 : 11;
    if (!thirty && f.significant == 5 && bit == 15) return {'0', 0};
    const unsigned field = bit < green ? 2 : bit < top ? 1 : 0;
    const unsigned lowest[] = {top, green, 0};
    return {channel_letter(f.name[field]), bit - lowest[field]};
}

inline Bit packed_bit(const Format& f, unsigned bit) {
    return {static_cast<char>('a' + bit / f.significant), bit % f.significant};
}

inline Bit packed_high_first_bit(unsigned bit) {
    const unsigned from_left = bit / 8 * 8 + 7 - bit % 8;
    return {static_cast<char>('a' + from_left / 12), 11 - from_left % 12};
}

inline Bit sample_bit(const Format& f, unsigned bit) {
    if (bit >= f.significant) return {'0', 0};
    return {f.family == Family::bayer ? 's' : 'm', bit};
}

// Bit 0 is the lowest of the first byte in memory.
inline Bit bit_of(const Format& f, unsigned bit) {
    if (f.code == trv::Code::Mono12MP) return packed_high_first_bit(bit);
    if (trv::is_packed(f)) return packed_bit(f, bit);
    switch (f.family) {
        case Family::colour:
            return channel_bit(f, bit);
        case Family::word:
            return word_bit(f, bit);
        case Family::yuv:
            return {"yuzv"[bit / 8], bit % 8};
        default:
            return sample_bit(f, bit);
    }
}

inline unsigned group_bytes(const Format& f) {
    return f.stored * f.group / 8u;
}

// Bytes in memory order, each from its highest bit to its lowest.
inline std::string diagram(const Format& f) {
    std::string text;
    for (unsigned byte = 0; byte < group_bytes(f); ++byte) {
        if (byte != 0) text += ' ';
        for (unsigned bit = 8; bit-- > 0;) text += bit_of(f, 8 * byte + bit).owner;
    }
    return text;
}

inline const char* family_name(Family family) {
    switch (family) {
        case Family::grey:
            return "grey";
        case Family::colour:
            return "colour";
        case Family::word:
            return "colour word";
        case Family::yuv:
            return "YUV";
        default:
            return "Bayer";
    }
}

inline std::string bytes_text(const Format& f) {
    if (f.stored % 8 == 0) return std::to_string(f.stored / 8);
    return std::to_string(f.stored / 8) + (f.stored == 10 ? ".25" : f.stored == 12 ? ".5" : ".75");
}

inline std::string destinations(const Format& from) {
    std::string list;
    for (const Format& to : trv::formats) {
        if (trv::find_way(static_cast<uint8_t>(from.code), static_cast<uint8_t>(to.code)) ==
            trv::Way::none)
            continue;
        list += (list.empty() ? "" : ", ") + std::string(to.name);
    }
    return list;
}

}  // namespace page
