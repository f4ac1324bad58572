// Demosaicing once more, one pixel at a time, to compare with. Written to be read; shares no code
// with the library.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace reference {

enum class Method { dup, ave, med };
enum class Store { rgb16, bgr16, bgr24, bgrx32, rgbx32 };

struct Mosaic {
    const uint8_t* first_line;
    size_t stride;
    uint32_t width, height;
    unsigned bits;        // per sample; more than 8 means 16-bit words
    const char* colours;  // four letters: first two pixels of the first, then of the second line
    bool keeps_depth = false;  // colours are as deep as samples, else 8 bits

    uint32_t sample(uint32_t x, uint32_t y) const {
        if (bits == 8) return first_line[y * stride + x];
        uint16_t word;
        std::memcpy(&word, first_line + y * (stride & ~size_t{1}) + 2 * size_t{x}, 2);
        return word;
    }
    char colour(uint32_t x, uint32_t y) const { return colours[y % 2 * 2 + x % 2]; }
};

struct Pixel {
    uint32_t red, green, blue;
    uint32_t& of(char colour) { return colour == 'R' ? red : colour == 'G' ? green : blue; }
};

// Every result is one truncating shift of a sum of samples.
class Reducer {
  public:
    explicit Reducer(const Mosaic& m) : shift_(m.keeps_depth ? 0 : m.bits - 8) {}
    uint32_t copy(uint32_t a) const { return a >> shift_; }
    uint32_t mean(uint32_t a, uint32_t b) const { return (a + b) >> (shift_ + 1); }
    uint32_t of_four(Method method, std::array<uint32_t, 4> s) const {
        if (method == Method::ave) return (s[0] + s[1] + s[2] + s[3]) >> (shift_ + 2);
        std::sort(s.begin(), s.end());
        return (s[1] + s[2]) >> (shift_ + 1);
    }

  private:
    unsigned shift_;
};

inline Pixel nearest_pixel(const Mosaic& m, uint32_t x, uint32_t y) {
    const Reducer r(m);
    const uint32_t ref = y == 0 ? 1 : y - 1;
    const uint32_t beside = x == 0 ? 1 : x - 1;  // column of the neighbour on this line
    const char own = m.colour(x, y);
    Pixel p{};
    p.of(own) = r.copy(m.sample(x, y));
    if (own == 'G') {
        p.of(m.colour(x + 1, y)) = r.copy(m.sample(beside, y));
        p.of(m.colour(x, y + 1)) = r.copy(m.sample(x, ref));
        return p;
    }
    const bool phase_b_line = std::strcmp(m.colours, "GRBG") == 0 && y % 2 == 1;
    const bool green_from_above = x == 0 && y > 0 && !phase_b_line;
    p.green = r.copy(green_from_above ? m.sample(0, y - 1) : m.sample(beside, y));
    p.of(m.colour(x + 1, y + 1)) = r.copy(m.sample(beside, ref));
    return p;
}

inline Pixel edge_line_pixel(const Mosaic& m, uint32_t x, uint32_t y) {
    const Reducer r(m);
    const uint32_t ref = y == 0 ? 1 : y - 1;
    const bool last = m.width % 2 == 0 && x == m.width - 1;
    const char own = m.colour(x, y);
    const uint32_t beside = x == 0 ? 1 : x - 1;
    Pixel p{};
    p.of(own) = r.copy(m.sample(x, y));
    const bool end = x == 0 || last;
    if (own == 'G') {
        p.of(m.colour(x + 1, y)) =
            end ? r.copy(m.sample(beside, y)) : r.mean(m.sample(x - 1, y), m.sample(x + 1, y));
        p.of(m.colour(x, y + 1)) = r.copy(m.sample(x, ref));
    } else if (end) {
        p.green = r.mean(m.sample(beside, y), m.sample(x, ref));
        p.of(m.colour(x + 1, y + 1)) = r.copy(m.sample(beside, ref));
    } else {
        p.green = r.mean(m.sample(x - 1, y), m.sample(x + 1, y));
        p.of(m.colour(x + 1, y + 1)) = r.mean(m.sample(x - 1, ref), m.sample(x + 1, ref));
    }
    return p;
}

inline Pixel middle_line_pixel(const Mosaic& m, Method method, uint32_t x, uint32_t y) {
    const Reducer r(m);
    const bool end = x == 0 || (m.width % 2 == 0 && x == m.width - 1);
    const uint32_t beside = x == 0 ? 1 : x - 1;
    const uint32_t up = m.sample(x, y - 1), down = m.sample(x, y + 1);
    const char own = m.colour(x, y);
    Pixel p{};
    p.of(own) = r.copy(m.sample(x, y));
    if (own == 'G') {
        p.of(m.colour(x + 1, y)) =
            end ? r.copy(m.sample(beside, y)) : r.mean(m.sample(x - 1, y), m.sample(x + 1, y));
        p.of(m.colour(x, y + 1)) = r.mean(up, down);
    } else if (end) {
        p.green = r.mean(up, down);
        p.of(m.colour(x + 1, y + 1)) = r.mean(m.sample(beside, y - 1), m.sample(beside, y + 1));
    } else {
        p.green = r.of_four(method, {m.sample(x - 1, y), m.sample(x + 1, y), up, down});
        p.of(m.colour(x + 1, y + 1)) =
            r.of_four(method, {m.sample(x - 1, y - 1), m.sample(x + 1, y - 1),
                               m.sample(x - 1, y + 1), m.sample(x + 1, y + 1)});
    }
    return p;
}

inline Pixel pixel(const Mosaic& m, Method method, uint32_t x, uint32_t y) {
    if (method == Method::dup) return nearest_pixel(m, x, y);
    if (y == 0 || y == m.height - 1) return edge_line_pixel(m, x, y);
    return middle_line_pixel(m, method, x, y);
}

// The top field of a 5-6-5 word is red's in rgb16, blue's in bgr16. Only the bottom field is
// unmasked.
inline uint16_t word565(uint32_t top, uint32_t middle, uint32_t bottom) {
    return static_cast<uint16_t>(((top & 0xF8) << 8) | ((middle & 0xFC) << 3) | (bottom >> 3));
}

inline void store(Store layout, const Pixel& p, uint8_t* line, uint32_t x) {
    const auto bytes = [&](size_t step, uint32_t a, uint32_t b, uint32_t c) {
        uint8_t* at = line + x * step;
        at[0] = static_cast<uint8_t>(a);
        at[1] = static_cast<uint8_t>(b);
        at[2] = static_cast<uint8_t>(c);
    };
    uint16_t word = 0;
    switch (layout) {
        case Store::bgr24:
            return bytes(3, p.blue, p.green, p.red);
        case Store::bgrx32:
            return bytes(4, p.blue, p.green, p.red);
        case Store::rgbx32:
            return bytes(4, p.red, p.green, p.blue);
        case Store::rgb16:
            word = word565(p.red, p.green, p.blue);
            break;
        case Store::bgr16:
            word = word565(p.blue, p.green, p.red);
            break;
    }
    std::memcpy(line + 2 * size_t{x}, &word, 2);
}

inline void demosaic(const Mosaic& m, Method method, Store layout, uint8_t* out, size_t stride) {
    const bool words = layout == Store::rgb16 || layout == Store::bgr16;
    if (words) stride &= ~size_t{1};
    for (uint32_t y = 0; y < m.height; ++y)
        for (uint32_t x = 0; x < m.width; ++x)
            store(layout, pixel(m, method, x, y), out + y * stride, x);
}

}  // namespace reference
