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

struct Between {
    const uint8_t* upper;
    const uint8_t* lower;
    uint8_t* out;
    size_t stride;
    bool fetch_ahead;

    void average(size_t first, size_t count) const {
        for (size_t k = first; k < first + count; ++k)
            out[k] = static_cast<uint8_t>(Average::at(upper, lower, static_cast<ptrdiff_t>(k), 0));
    }
    void run(Row row, size_t first, size_t count) const {
        row(upper + first, lower + first, out + first, count, fetch_ahead);
    }
};

// A line of which both ends are averaged and the rest is a rule's. In YUV422 the outermost even
// bytes that have an even neighbour on both sides are the rule's too: byte 2 and byte stride - 4.
template <typename Rule>
size_t make_line(const Between& line, Row row, Neighbour n) {
    const size_t edge = edge_bytes(n), stride = line.stride;
    if (stride < 2 * edge) {
        line.average(0, stride);
        return stride;
    }
    line.average(0, edge);
    line.run(row, edge, stride - 2 * edge);
    line.average(stride - edge, edge);
    if (n == yuv) {
        const auto put = [&](size_t k) {
            const uint32_t made = Rule::at(line.upper, line.lower, static_cast<ptrdiff_t>(k), 2);
            line.out[k] = static_cast<uint8_t>(made);
        };
        put(2);
        put(stride - 4);
    }
    return stride;
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
inline size_t make_short_median_line(const Between& line, Row row) {
    constexpr size_t pixel = 4;
    const size_t whole = line.stride < pixel ? 0 : (line.stride - pixel) / pixel;
    line.average(0, pixel);
    if (whole <= 4) {
        line.average(pixel, pixel);
        return 2 * pixel;
    }
    line.run(row, pixel, (whole - 4) * pixel);
    line.average((whole - 3) * pixel, pixel);
    return (whole - 2) * pixel;
}

}  // namespace trv::field
