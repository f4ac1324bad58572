// The pixel formats as a table, made from trvil/formats.inc, where every one of them is described.
#pragma once

#include <cstddef>
#include <cstdint>

namespace trv {

enum class Family : uint8_t { grey, colour, word, yuv, bayer };
enum class Phase : uint8_t { A, B, C, D, none };

// Low byte of a format code. Only this byte decides how a pair converts; the bits above it are the
// kit's own and are compared only by the callers that say so.
enum class Code : uint8_t {
#define TRV_FORMAT(code, name, stored, significant, family, group, phase) name = code,
#include "trvil/formats.inc"
};

struct Format {
    const char* name;
    Code code;
    uint8_t stored;       // bits of memory per pixel
    uint8_t significant;  // bits that carry the value
    Family family;
    uint8_t group;  // pixels in a whole number of bytes
    Phase phase;    // as the name says it
};

inline constexpr Format formats[] = {
#define TRV_FORMAT(code, name, stored, significant, family, group, phase) \
    {#name, Code::name, stored, significant, Family::family, group, Phase::phase},
#include "trvil/formats.inc"
};

inline constexpr size_t format_count = sizeof formats / sizeof formats[0];
static_assert(format_count == 74);

inline constexpr uint32_t format_prefix = 0xC0022600;
inline constexpr size_t code_end = 0x4D;  // one past the last code

constexpr const Format* find_format(uint8_t code) {
    for (const Format& format : formats)
        if (static_cast<uint8_t>(format.code) == code) return &format;
    return nullptr;
}

constexpr const Format* find_whole_format(uint32_t code) {
    return (code & 0xFFFFFF00) == format_prefix ? find_format(static_cast<uint8_t>(code)) : nullptr;
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

}  // namespace trv
