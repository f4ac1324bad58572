// Plain frames from fields: the field's lines are the even lines of the frame.
#pragma once

#include "bench/peers/plain_direct.h"

namespace peers::plain {

inline uint8_t low(uint8_t a, uint8_t b) {
    return a < b ? a : b;
}

inline uint8_t high(uint8_t a, uint8_t b) {
    return a < b ? b : a;
}

struct Three {
    uint8_t least, middle, most;
    Three(uint8_t a, uint8_t b, uint8_t c)
        : least(low(low(a, b), c)),
          middle(high(low(a, b), low(high(a, b), c))),
          most(high(high(a, b), c)) {}
};

struct Between {
    const uint8_t *upper, *lower;
    uint8_t* out;
    size_t length;

    void mean(size_t first, size_t end) const {
        for (size_t k = first; k < end; ++k)
            out[k] = static_cast<uint8_t>((upper[k] + lower[k]) / 2);
    }
    uint8_t weighted(size_t k, size_t d) const {
        const int centre = upper[k] + lower[k];
        const int beside = upper[k - d] + upper[k + d] + lower[k - d] + lower[k + d];
        return static_cast<uint8_t>((105 * centre + 75 * beside) >> 9);
    }
    // The two in the middle of six, from two sorted threes.
    uint8_t middle(size_t k, size_t d) const {
        const Three u(upper[k - d], upper[k], upper[k + d]);
        const Three w(lower[k - d], lower[k], lower[k + d]);
        const uint8_t third =
            low(low(u.most, w.most), low(high(u.middle, w.least), high(u.least, w.middle)));
        const uint8_t fourth =
            low(high(u.middle, w.middle), low(high(u.least, w.most), high(u.most, w.least)));
        return static_cast<uint8_t>((third + fourth) / 2);
    }
};

struct Duplicate {
    static void line(Between b) { std::memcpy(b.out, b.upper, b.length); }
};

struct Mean {
    static void line(Between b) { b.mean(0, b.length); }
};

template <size_t Distance>
struct Bilinear {
    static void line(Between b) {
        b.mean(0, Distance);
        for (size_t k = Distance; k + Distance < b.length; ++k) b.out[k] = b.weighted(k, Distance);
        b.mean(b.length - Distance, b.length);
    }
};

template <size_t Distance>
struct Median {
    static void line(Between b) {
        b.mean(0, Distance);
        for (size_t k = Distance; k + Distance < b.length; ++k) b.out[k] = b.middle(k, Distance);
        b.mean(b.length - Distance, b.length);
    }
};

// Neighbouring luminance is 2 bytes away, neighbouring chrominance of a kind 4.
struct MedianYuv {
    static void line(Between b) {
        b.mean(0, 4);
        b.out[2] = b.middle(2, 2);
        for (size_t k = 4; k + 5 < b.length; k += 2) {
            b.out[k] = b.middle(k, 2);
            b.out[k + 1] = b.middle(k + 1, 4);
        }
        b.mean(b.length - 4, b.length);
        b.out[b.length - 4] = b.middle(b.length - 4, 2);
    }
};

template <size_t PixelBytes, typename Make>
void frame(const uint8_t* from, uint8_t* to, Size field) {
    const size_t length = field.width * PixelBytes;
    for (size_t y = 0; y < field.height; ++y) {
        const uint8_t* line = from + y * length;
        uint8_t* out = to + 2 * y * length;
        std::memcpy(out, line, length);
        if (y + 1 < field.height)
            Make::line({line, line + length, out + length, length});
        else
            std::memcpy(out + length, line, length);
    }
}

template <size_t Bytes>
Convert field_of(Method method) {
    switch (method) {
        case Method::line_dup:
            return frame<Bytes, Duplicate>;
        case Method::line_ave:
            return frame<Bytes, Mean>;
        case Method::bilinear:
            return frame<Bytes, Bilinear<Bytes>>;
        default:
            return frame<Bytes, Median<Bytes>>;
    }
}

// Not the median of four bytes a pixel, whose lines drift on purpose.
inline Convert field(const Task& task) {
    if (task.from_code == Code::YUV422)
        return task.method == Method::median ? frame<2, MedianYuv> : nullptr;
    if (task.from().stored == 8) return field_of<1>(task.method);
    if (task.from().stored == 24) return field_of<3>(task.method);
    return task.method == Method::median ? nullptr : field_of<4>(task.method);
}

}  // namespace peers::plain
