// The direct conversions once more, one pixel at a time, by format names. Written to be read;
// shares no code with the library.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>

namespace reference {

struct Image {
    std::string format;
    const uint8_t* first_line;
    size_t stride;
    uint32_t width, height;
    uint32_t packing_offset;
};

inline bool starts_with(const std::string& text, const std::string& head) {
    return text.compare(0, head.size(), head) == 0;
}

// Significant bits of a word format, from its name: "Mono12B" 12, "BGR48_14" 14, "RGBA64" 16.
inline unsigned depth_of(const std::string& format) {
    for (const unsigned bits : {10u, 12u, 14u})
        if (format.find("Mono" + std::to_string(bits)) == 0 ||
            format.find("_" + std::to_string(bits)) != std::string::npos ||
            format.find("BAY" + std::to_string(bits)) == 0)
            return bits;
    return 16;
}

inline bool is_packed_name(const std::string& format) {
    return format == "Mono10P" || format == "Mono12P" || format == "Mono14P" ||
           (starts_with(format, "BAY") && format.find('P') != std::string::npos);
}

inline uint32_t word_at(const uint8_t* at) {
    return at[0] | uint32_t{at[1]} << 8;
}

// Bits of a stream, least significant first, bit by bit.
inline uint32_t stream_bits(const uint8_t* line, size_t first, unsigned count) {
    uint32_t value = 0;
    for (unsigned i = 0; i < count; ++i)
        value |= (uint32_t{line[(first + i) / 8]} >> (first + i) % 8 & 1u) << i;
    return value;
}

struct Channels {
    uint32_t red = 0, green = 0, blue = 0, alpha = 0;
    bool is_grey = false, has_alpha = false;
};

inline uint32_t narrowed(uint32_t word, unsigned depth) {
    return (word >> (depth - 8)) & 0xFF;
}

inline int clamp_to_byte(int v) {
    return std::min(std::max(v, 0), 255);
}

inline Channels yuv_pixel(const uint8_t* line, uint32_t x, uint32_t width) {
    const uint8_t* group = line + x / 2 * 4;
    const bool half_group = x == width - 1 && width % 2 == 1;
    const int y = x % 2 == 0 ? group[0] : group[2];
    const int u = group[1] - 128;
    const int v = (!half_group ? group[3] : x == 0 ? 128 : group[-1]) - 128;
    const auto down = [](int product) {  // towards minus infinity
        return product >= 0 ? product / 1024 : -((-product + 1023) / 1024);
    };
    Channels c;
    c.blue = static_cast<uint32_t>(clamp_to_byte(y + down(1815 * u)));
    c.green = static_cast<uint32_t>(clamp_to_byte(y - down(352 * u + 731 * v)));
    c.red = static_cast<uint32_t>(clamp_to_byte(y + down(1436 * v)));
    return c;
}

inline Channels grey(uint32_t v) {
    return {v, v, v, v, true, false};
}

// The top 8 bits of a packed sample; of 12 bits, least significant first, the low 8.
inline uint32_t packed_top(const Image& image, const uint8_t* line, uint32_t x) {
    if (image.format == "Mono12MP") {
        const uint8_t* group = line + x / 2 * 3;
        return x % 2 == 0 ? group[0] : ((group[1] & 15u) << 4 | group[2] >> 4);
    }
    const unsigned depth = depth_of(image.format);
    const unsigned in_group = depth == 12 ? 2 : 4;
    const size_t place = image.packing_offset % in_group + x;
    const unsigned skip = depth == 12 ? 0 : depth - 8;
    return stream_bits(line, place * depth + skip, 8);
}

// The 8-bit channels of a source pixel.
inline Channels channels8(const Image& image, uint32_t x, uint32_t y) {
    const std::string& f = image.format;
    const uint8_t* line = image.first_line + y * image.stride;
    const unsigned depth = depth_of(f);
    const auto word = [&](size_t words, size_t i) {
        return narrowed(word_at(line + 2 * (words * x + i)), depth);
    };
    if (f == "Mono8") return grey(line[x]);
    if (f == "BGR24") return {line[3 * x + 2], line[3 * x + 1], line[3 * x]};
    if (f == "RGB24") return {line[3 * x], line[3 * x + 1], line[3 * x + 2]};
    if (f == "BGRX32")
        return {line[4 * x + 2], line[4 * x + 1], line[4 * x], line[4 * x + 3], false, true};
    if (f == "RGBA32")
        return {line[4 * x], line[4 * x + 1], line[4 * x + 2], line[4 * x + 3], false, true};
    if (starts_with(f, "BGR48")) return {word(3, 2), word(3, 1), word(3, 0)};
    if (starts_with(f, "RGB48")) return {word(3, 0), word(3, 1), word(3, 2)};
    if (starts_with(f, "RGBA64"))
        return {word(4, 0), word(4, 1), word(4, 2), word(4, 3), false, true};
    if (f == "RGB30")
        return {stream_bits(line + 4 * x, 24, 8), stream_bits(line + 4 * x, 14, 8),
                stream_bits(line + 4 * x, 2, 8)};
    if (f == "YUV422") return yuv_pixel(line, x, image.width);
    if (f == "Mono12MP" || is_packed_name(f)) return grey(packed_top(image, line, x));
    return grey(word(1, 0));
}

// What a 48-bit destination gets: the source's own values, never scaled.
inline Channels channels_unscaled(const Image& image, uint32_t x, uint32_t y) {
    const uint8_t* line = image.first_line + y * image.stride;
    const std::string& f = image.format;
    if (f == "Mono8" || f == "BGR24") return channels8(image, x, y);
    if (f == "RGB30")
        return {stream_bits(line + 4 * x, 22, 10), stream_bits(line + 4 * x, 12, 10),
                stream_bits(line + 4 * x, 0, 10)};
    if (starts_with(f, "BGR48"))
        return {word_at(line + 6 * x + 4), word_at(line + 6 * x + 2), word_at(line + 6 * x)};
    return grey(word_at(line + 2 * x));
}

inline void put16(uint8_t* at, uint32_t v) {
    at[0] = static_cast<uint8_t>(v);
    at[1] = static_cast<uint8_t>(v >> 8);
}

inline void put32(uint8_t* at, uint32_t v) {
    put16(at, v);
    put16(at + 2, v >> 16);
}

inline uint32_t word555(uint32_t top, uint32_t green, uint32_t bottom) {
    return (top & 0xF8) << 7 | (green & 0xF8) << 2 | bottom >> 3;
}

inline uint32_t word565_of(uint32_t top, uint32_t green, uint32_t bottom) {
    return (top & 0xF8) << 8 | (green & 0xFC) << 3 | bottom >> 3;
}

inline uint32_t word_from_48(const Image& image, const std::string& to, uint32_t x, uint32_t y) {
    const uint8_t* in = image.first_line + y * image.stride + 6 * size_t{x};
    const uint32_t c0 = word_at(in), c2 = word_at(in + 4);
    const bool red_on_top = starts_with(to, "RGB");
    const uint32_t kept = red_on_top ? c0 : c2, other = red_on_top ? c2 : c0;
    const bool fifteen = to == "RGB15" || to == "BGR15";
    if (image.format == "BGR48") return fifteen ? kept >> 11 : kept >> 11 | (other != 0);
    return kept >> 7 | uint32_t{other != 0} << (fifteen ? 3 : 4);
}

inline uint32_t thirty_word(const Image& image, bool red_high, uint32_t x, uint32_t y) {
    const uint8_t* line = image.first_line + y * image.stride;
    if (image.format == "RGB30") {
        uint32_t w = 0;
        std::memcpy(&w, line + 4 * size_t{x}, 4);
        return red_high ? w : w >> 22 | (w >> 10 & 0xFFF) << 10 | w << 22;
    }
    if (image.format == "Mono8" || image.format == "BGR24") {
        const Channels c = channels8(image, x, y);
        return red_high ? c.blue | c.green << 10 | c.red << 22
                        : c.red | c.green << 10 | c.blue << 22;
    }
    const unsigned depth = depth_of(image.format);
    const Channels c = channels_unscaled(image, x, y);
    const auto ten = [&](uint32_t v) { return v >> (depth - 10) & 0x3FF; };
    const uint32_t twelve = (depth < 12 ? c.green << 2 : c.green >> (depth - 12)) & 0xFFF;
    return red_high ? ten(c.blue) | twelve << 10 | ten(c.red) << 22
                    : ten(c.red) | twelve << 10 | ten(c.blue) << 22;
}

inline void put_four(uint8_t* out, const std::string& to, const Channels& c) {
    const bool pad_first = to[0] == 'X';
    const std::string order = pad_first ? to.substr(1, 3) : to.substr(0, 3);
    for (size_t i = 0; i < 3; ++i)
        out[i + pad_first] = static_cast<uint8_t>(order[i] == 'R'   ? c.red
                                                  : order[i] == 'G' ? c.green
                                                                    : c.blue);
    const size_t pad = pad_first ? 0 : 3;
    if (c.is_grey) out[pad] = static_cast<uint8_t>(c.red);
    if (c.has_alpha) out[pad] = static_cast<uint8_t>(c.alpha);
}

inline void put_48(uint8_t* out, const Image& image, bool red_first, uint32_t x, uint32_t y) {
    Channels c = channels_unscaled(image, x, y);
    if (image.format == "RGB30" && red_first) {
        // Green and blue are the following pixel's.
        const uint8_t* next = image.first_line + y * image.stride + 4 * (size_t{x} + 1);
        c.green = stream_bits(next, 12, 10);
        c.blue = stream_bits(next, 0, 10);
    }
    put16(out, red_first ? c.red : c.blue);
    put16(out + 2, c.green);
    put16(out + 4, red_first ? c.blue : c.red);
}

inline size_t pixel_bytes_of(const std::string& to) {
    if (to == "Mono8") return 1;
    if (to == "BGR24" || to == "RGB24") return 3;
    if (starts_with(to, "BGR48") || starts_with(to, "RGB48")) return 6;
    const bool four =
        to == "Mono32" || to.find("32") != std::string::npos || to == "RGB30" || to == "BGR30";
    return four ? 4 : 2;
}

inline void convert_word_pixel(const Image& image, const std::string& to, uint8_t* out, uint32_t x,
                               uint32_t y) {
    const uint8_t* line = image.first_line + y * image.stride;
    if (starts_with(image.format, "BGR48")) return put16(out, word_from_48(image, to, x, y));
    const bool word = starts_with(to, "Mono") || starts_with(to, "BAY");
    if (word && image.format == "Mono8") return put16(out, line[x]);
    if (word && is_packed_name(image.format)) {
        const unsigned depth = depth_of(image.format);
        return put16(out, stream_bits(line, size_t{x} * depth, depth));
    }
    if (word) return put16(out, word_at(line + 2 * size_t{x}));
    const Channels c = channels8(image, x, y);
    const bool red_top = starts_with(to, "RGB");
    const uint32_t top = red_top ? c.red : c.blue, bottom = red_top ? c.blue : c.red;
    put16(out, to.find("15") != std::string::npos ? word555(top, c.green, bottom)
                                                  : word565_of(top, c.green, bottom));
}

inline void convert_pixel(const Image& image, const std::string& to, uint8_t* out, uint32_t x,
                          uint32_t y) {
    const uint8_t* line = image.first_line + y * image.stride;
    if (to == "RGB30" || to == "BGR30") return put32(out, thirty_word(image, to == "RGB30", x, y));
    if (to == "Mono32")
        return put32(out, image.format == "Mono8" ? line[x] : word_at(line + 2 * size_t{x}));
    switch (pixel_bytes_of(to)) {
        case 1:
            out[0] = static_cast<uint8_t>(channels8(image, x, y).red);
            return;
        case 2:
            return convert_word_pixel(image, to, out, x, y);
        case 3: {
            const Channels c = channels8(image, x, y);
            const bool red_first = to == "RGB24";
            out[0] = static_cast<uint8_t>(red_first ? c.red : c.blue);
            out[1] = static_cast<uint8_t>(c.green);
            out[2] = static_cast<uint8_t>(red_first ? c.blue : c.red);
            return;
        }
        case 4:
            return put_four(out, to, channels8(image, x, y));
        default:
            return put_48(out, image, starts_with(to, "RGB48"), x, y);
    }
}

// Pixels written per line: unpacking writes whole groups.
inline uint32_t written_width(const Image& image, const std::string& to) {
    if (!is_packed_name(image.format) || pixel_bytes_of(to) != 2) return image.width;
    const uint32_t group = depth_of(image.format) == 12 ? 2 : 4;
    return (image.width + group - 1) / group * group;
}

// The helpers step their source in whole words.
inline bool is_helper(const std::string& from, const std::string& to) {
    if (starts_with(from, "RGBA64")) return true;
    if (to == "RGB24")
        return starts_with(from, "RGB48") || from == "BGR48_10" || from == "BGR48_14";
    return (from == "Mono16" || from == "Mono10" || from == "Mono12" || from == "Mono12B" ||
            from == "Mono14") &&
           to.find("32") != std::string::npos && to != "Mono32";
}

inline void convert(Image image, const std::string& to, uint8_t* out, size_t stride) {
    if (is_helper(image.format, to)) image.stride &= ~size_t{1};
    for (uint32_t y = 0; y < image.height; ++y)
        for (uint32_t x = 0; x < written_width(image, to); ++x)
            convert_pixel(image, to, out + y * stride + x * pixel_bytes_of(to), x, y);
}

}  // namespace reference
