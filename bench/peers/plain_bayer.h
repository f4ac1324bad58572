// Plain demosaicing: two pixels of a line at a time, neighbours mirrored at the edges.
#pragma once

#include <algorithm>

#include "bench/peers/plain_direct.h"

namespace peers::plain {

template <typename Sample, Method M>
struct Rule {
    unsigned shift;

    uint32_t copy(uint32_t a) const { return a >> shift; }
    uint32_t two(uint32_t a, uint32_t b) const {
        return M == Method::dup ? a >> shift : (a + b) >> (shift + 1);
    }
    uint32_t four(uint32_t a, uint32_t b, uint32_t c, uint32_t d) const {
        if (M == Method::dup) return a >> shift;
        if (M == Method::ave) return (a + b + c + d) >> (shift + 2);
        return (std::max(std::min(a, b), std::min(c, d)) +
                std::min(std::max(a, b), std::max(c, d))) >>
               (shift + 1);
    }
};

struct Store24 {
    static void put(uint8_t* line, size_t x, uint32_t red, uint32_t green, uint32_t blue) {
        line[3 * x] = static_cast<uint8_t>(blue);
        line[3 * x + 1] = static_cast<uint8_t>(green);
        line[3 * x + 2] = static_cast<uint8_t>(red);
    }
};

template <bool RedFirst>
struct Store32 {
    static void put(uint8_t* line, size_t x, uint32_t red, uint32_t green, uint32_t blue) {
        line[4 * x] = static_cast<uint8_t>(RedFirst ? red : blue);
        line[4 * x + 1] = static_cast<uint8_t>(green);
        line[4 * x + 2] = static_cast<uint8_t>(RedFirst ? blue : red);
    }
};

struct Store16 {
    static void put(uint8_t* line, size_t x, uint32_t red, uint32_t green, uint32_t blue) {
        plain::put<uint16_t>(line, x, (red & 0xF8) << 8 | (green & 0xFC) << 3 | blue >> 3);
    }
};

template <typename Sample, Method M, typename Store>
struct Demosaic {
    const Sample *above, *here, *below;
    uint8_t* out;
    Rule<Sample, M> rule;

    // A green pixel, and one of the line's other colour; left and right are its neighbours'
    // columns.
    template <bool RedLine>
    void green(size_t left, size_t x, size_t right) const {
        const uint32_t across = rule.two(here[left], here[right]);
        const uint32_t along = rule.two(above[x], below[x]);
        Store::put(out, x, RedLine ? across : along, rule.copy(here[x]), RedLine ? along : across);
    }
    template <bool RedLine>
    void other(size_t left, size_t x, size_t right) const {
        const uint32_t own = rule.copy(here[x]);
        const uint32_t cross = rule.four(here[left], here[right], above[x], below[x]);
        const uint32_t far = rule.four(above[left], above[right], below[left], below[right]);
        Store::put(out, x, RedLine ? own : far, cross, RedLine ? far : own);
    }
    void red_line(size_t width) const {
        other<true>(1, 0, 1);
        for (size_t x = 1; x + 1 < width; x += 2) {
            green<true>(x - 1, x, x + 1);
            other<true>(x, x + 1, x + 2);
        }
        green<true>(width - 2, width - 1, width - 2);
    }
    void blue_line(size_t width) const {
        green<false>(1, 0, 1);
        for (size_t x = 1; x + 1 < width; x += 2) {
            other<false>(x - 1, x, x + 1);
            green<false>(x, x + 1, x + 2);
        }
        other<false>(width - 2, width - 1, width - 2);
    }
};

template <typename Sample, unsigned Shift, Method M, typename Store, size_t Bytes>
void demosaic(const uint8_t* from, uint8_t* to, Size size) {
    const size_t width = size.width, height = size.height;
    const auto line = [&](size_t y) { return reinterpret_cast<const Sample*>(from) + y * width; };
    for (size_t y = 0; y < height; ++y) {
        const Demosaic<Sample, M, Store> step{line(y == 0 ? 1 : y - 1),
                                              line(y),
                                              line(y + 1 == height ? y - 1 : y + 1),
                                              to + y * width * Bytes,
                                              {Shift}};
        y % 2 == 0 ? step.red_line(width) : step.blue_line(width);
    }
}

template <typename Sample, unsigned Shift, typename Store, size_t Bytes>
Convert by_method(Method method) {
    return method == Method::dup   ? demosaic<Sample, Shift, Method::dup, Store, Bytes>
           : method == Method::ave ? demosaic<Sample, Shift, Method::ave, Store, Bytes>
                                   : demosaic<Sample, Shift, Method::med, Store, Bytes>;
}

template <typename Sample, unsigned Shift>
Convert by_layout(const Task& task) {
    switch (task.to_code) {
        case Code::BGR24:
            return by_method<Sample, Shift, Store24, 3>(task.method);
        case Code::BGRX32:
            return by_method<Sample, Shift, Store32<false>, 4>(task.method);
        case Code::RGBX32:
            return by_method<Sample, Shift, Store32<true>, 4>(task.method);
        case Code::RGB16:
            return by_method<Sample, Shift, Store16, 2>(task.method);
        default:
            return nullptr;
    }
}

inline Convert demosaic(const Task& task) {
    switch (task.from().significant) {
        case 8:
            return by_layout<uint8_t, 0>(task);
        case 10:
            return by_layout<uint16_t, 2>(task);
        case 12:
            return by_layout<uint16_t, 4>(task);
        case 16:
            return by_layout<uint16_t, 8>(task);
        default:
            return nullptr;
    }
}

}  // namespace peers::plain
