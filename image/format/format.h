// The pixel formats as a table, made from trvil/formats.inc, where every one of them is described.
#pragma once

#include <cstddef>
#include <cstdint>

namespace trv {

enum class Family : uint8_t { grey, colour, word, yuv, bayer };
constexpr const char* family_name(Family family) {
    constexpr const char* names[] = {"grey", "colour", "word", "yuv", "mosaic"};
    return names[static_cast<size_t>(family)];
}

enum class Phase : uint8_t { A, B, C, D, none };
enum class BitOrder : uint8_t { least, most };
enum class Channel : uint8_t { none, M, S, R, G, B, A, X, Y, U, V };

// Low byte of a format code. Only this byte decides how a pair converts; the bits above it are the
// kit's own and are compared only by the callers that say so.
enum class Code : uint8_t {
#define TRV_FORMAT(code, name, stored, significant, family, group, phase, order, ...) name = code,
#include "trvil/formats.inc"
};

// Where a channel of a group's first pixel lies.
struct Field {
    Channel channel;
    uint8_t bit;
    uint8_t bits;

    constexpr bool operator==(const Field&) const = default;
};

struct Format {
    const char* name;
    Code code;
    uint8_t stored;       // bits of memory per pixel
    uint8_t significant;  // bits that carry the value
    Family family;
    uint8_t group;  // pixels in a whole number of bytes
    Phase phase;    // as the name says it
    BitOrder order;
    Field fields[4];  // in the order of their bits; what is left over has no channel
};

namespace table {
using enum Channel;
inline constexpr Format formats[] = {
#define TRV_FORMAT(code, name, stored, significant, family, group, phase, order, ...) \
    {#name, Code::name,   stored,          significant,  Family::family,              \
     group, Phase::phase, BitOrder::order, {__VA_ARGS__}},
#include "trvil/formats.inc"
};
}  // namespace table
using table::formats;

inline constexpr size_t format_count = sizeof formats / sizeof formats[0];
inline constexpr uint32_t format_prefix = 0xC0022600;

// One past the last code.
inline constexpr size_t code_end = static_cast<size_t>(formats[format_count - 1].code) + 1;

constexpr const Format* find_format(uint8_t code) {
    for (const Format& format : formats)
        if (static_cast<uint8_t>(format.code) == code) return &format;
    return nullptr;
}

constexpr const Format* find_whole_format(uint32_t code) {
    return (code & 0xFFFFFF00) == format_prefix ? find_format(static_cast<uint8_t>(code)) : nullptr;
}

constexpr uint32_t whole_code(const Format& format) {
    return format_prefix + static_cast<uint32_t>(format.code);
}

constexpr const Format& format_of(Code code) {
    return *find_format(static_cast<uint8_t>(code));
}

// Pixels are stored in groups that fill whole bytes; a line that ends inside a group still owns the
// bytes its pixels reach into.
constexpr uint64_t line_bytes(const Format& format, uint64_t width) {
    return (width * format.stored + 7) / 8;
}

constexpr bool is_packed(const Format& format) {
    return format.stored % 8 != 0;
}

constexpr uint32_t group_bytes(const Format& format) {
    return format.stored * format.group / 8u;
}

// Null where the format has no such channel.
constexpr const Field* find_field(const Format& format, Channel channel) {
    for (const Field& field : format.fields)
        if (field.channel == channel) return &field;
    return nullptr;
}

constexpr bool has(const Format& format, Channel channel) {
    return find_field(format, channel) != nullptr;
}

// Bytes of one sample where samples are bytes or words of their own, and 0 where they share them.
constexpr uint32_t sample_bytes(const Format& format) {
    if (is_packed(format) || format.family == Family::word) return 0;
    return (format.fields[0].bits + 7u) / 8;
}

// Whether every bit of every sample carries the value.
constexpr bool has_full_samples(const Format& format) {
    return sample_bytes(format) * 8 == format.significant;
}

// A slip in a row of the table ends the build here.
constexpr bool is_sound(const Format& format) {
    uint32_t end = 0;
    uint8_t widest = 0;
    for (const Field& field : format.fields) {
        if (field.channel == Channel::none) continue;
        if (field.bits == 0 || field.bit < end) return false;
        end = field.bit + uint32_t{field.bits};
        if (field.bits > widest) widest = field.bits;
    }
    const bool pairs = format.family == Family::yuv;
    return end != 0 && end <= format.stored * (pairs ? format.group : 1u) &&
           format.stored * format.group % 8 == 0 && format.significant <= widest;
}

constexpr bool are_sound() {
    for (size_t i = 0; i < format_count; ++i)
        if (!is_sound(formats[i]) || (i != 0 && formats[i].code <= formats[i - 1].code))
            return false;
    return true;
}
static_assert(are_sound());

}  // namespace trv
