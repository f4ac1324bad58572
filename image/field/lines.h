// Whole synthesised lines: which bytes are edges, where the vertical average stands, and what a
// level does between them.
#pragma once

#include <cstdint>

#include "image/field/line.h"
#include "image/field/rule.h"

namespace trv::field {

// Bytes at both ends of a line that have no neighbour of their kind on one side.
constexpr size_t edge_bytes(Neighbour n) {
    return n == one ? 1 : n == three ? 3 : 4;
}

// A line of the field, and the two of the frame that it comes to: its copy and what lies between it
// and the line below.
struct Pair {
    const uint8_t* from;
    uint8_t* to;
    size_t stride;

    void copy(size_t first, size_t count) const {
        for (size_t k = first; k < first + count; ++k) to[k] = from[k];
    }
    void average(size_t first, size_t count) const {
        for (size_t k = first; k < first + count; ++k) put<Average>(k, 0);
    }
    template <typename Rule>
    void put(size_t k, ptrdiff_t distance) const {
        const uint32_t made = Rule::at(from, from + stride, static_cast<ptrdiff_t>(k), distance);
        to[stride + k] = static_cast<uint8_t>(made);
    }
};

// Lines of which both ends are averaged and the rest is a rule's. In YUV422 the outermost even
// bytes that have an even neighbour on both sides are the rule's too: byte 2 and byte stride - 4.
template <typename Rule>
void make_lines(Pass pass, MakePass make, Neighbour n) {
    const size_t edge = edge_bytes(n), stride = pass.stride;
    const bool is_short = stride < 2 * edge;
    Pair pair{pass.from, pass.to, stride};
    const auto copy_and_average = [&](size_t first, size_t count) {
        pair.copy(first, count);
        pair.average(first, count);
    };
    for (uint32_t i = 0; i < pass.lines; ++i) {
        copy_and_average(0, is_short ? stride : edge);
        if (!is_short) copy_and_average(stride - edge, edge);
        if (!is_short && n == yuv) {
            pair.put<Rule>(2, 2);
            pair.put<Rule>(stride - 4, 2);
        }
        pair.from += stride;
        pair.to += 2 * stride;
    }
    if (is_short) return;
    pass.from += edge;
    pass.to += edge;
    pass.count = stride - 2 * edge;
    make(pass);
}

// Deliberate: with pixels of 4 bytes the median's line ends three pixels early, and the walk goes
// on from there, in the field as in the frame. For a stride of 16 pixels:
//
//   pixel   0   1 ... 11   12   13  14  15      a averaged, m median, - not written
//           a   m ... m    a    -   -   -
//
//   13 pixels, 52 bytes were made: the next field line is read from byte 52 of this one instead of
//   byte 64, and the next frame line is written right after the 52 bytes.
//
// Programs rely on the frames that this gives; it is not to be repaired.
//
// `pass` is of one line, which is copied already.
inline size_t make_short_median_line(Pass pass, MakePass make) {
    constexpr size_t pixel = 4;
    const Pair pair{pass.from, pass.to, pass.stride};
    const size_t whole = pass.stride < pixel ? 0 : (pass.stride - pixel) / pixel;
    pair.average(0, pixel);
    if (whole <= 4) {
        pair.average(pixel, pixel);
        return 2 * pixel;
    }
    pass.from += pixel;
    pass.to += pixel;
    pass.count = (whole - 4) * pixel;
    make(pass);
    pair.average((whole - 3) * pixel, pixel);
    return (whole - 2) * pixel;
}

}  // namespace trv::field
