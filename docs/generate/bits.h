// Whose bit each bit of a stored pixel group is, and what pages say about a format.
#pragma once

#include <string>
#include <vector>

#include "image/format/format.h"
#include "image/format/routes.h"

namespace page {

using trv::Format;

// `owner` r g b a: a colour or alpha; m: grey; s: a mosaic's sample; a to d: pixels of a packed
// group; y z u v: two luminances and the chrominance; 0: an unused bit; -: a pad byte's.
struct Bit {
    char owner;
    unsigned index;  // place in the value, 0 being the lowest
};

inline char owner_of(const Format& f, const trv::Field& field, unsigned pixel) {
    if (trv::is_packed(f)) return static_cast<char>('a' + pixel);
    if (field.channel == trv::Channel::Y) return pixel == 0 ? 'y' : 'z';
    return " msrgba-yuv"[static_cast<size_t>(field.channel)];
}

// Bit 0 is the lowest of the first byte in memory.
inline Bit bit_of(const Format& f, unsigned bit) {
    const bool most = f.order == trv::BitOrder::most;
    const unsigned counted = most ? bit / 8 * 8 + 7 - bit % 8 : bit;
    for (const trv::Field& field : f.fields) {
        const bool shared = field.channel == trv::Channel::U || field.channel == trv::Channel::V;
        for (unsigned pixel = 0; pixel < (shared ? 1u : f.group); ++pixel) {
            const unsigned first = field.bit + pixel * f.stored;
            if (counted < first || counted >= first + field.bits) continue;
            const unsigned place = counted - first;
            return {owner_of(f, field, pixel), most ? field.bits - 1 - place : place};
        }
    }
    return {'0', bit % 8};
}

using trv::group_bytes;

// Bytes in memory order, each from its highest bit to its lowest.
inline std::string diagram(const Format& f) {
    std::string text;
    for (unsigned byte = 0; byte < group_bytes(f); ++byte) {
        if (byte != 0) text += ' ';
        for (unsigned bit = 8; bit-- > 0;) text += bit_of(f, 8 * byte + bit).owner;
    }
    return text;
}

inline std::string bytes_text(const Format& f) {
    if (f.stored % 8 == 0) return std::to_string(f.stored / 8);
    return std::to_string(f.stored / 8) + (f.stored == 10 ? ".25" : f.stored == 12 ? ".5" : ".75");
}

inline std::string destinations(const Format& from) {
    std::string list;
    for (const Format& to : trv::formats) {
        if (trv::route_kind(from, to) == trv::RouteKind::none) continue;
        list += (list.empty() ? "" : ", ") + std::string(to.name);
    }
    return list;
}

}  // namespace page
