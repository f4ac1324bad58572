// Frames from fields once more, byte by byte. Written to be read; shares no code with the library.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>

namespace reference {

enum class FieldMethod { duplicate, average, bilinear, median };

inline uint32_t median_of_six(std::array<uint8_t, 6> v) {
    std::sort(v.begin(), v.end());
    return (v[2] + v[3]) / 2u;
}

struct TwoLines {
    const uint8_t* upper;
    const uint8_t* lower;
    uint32_t stride;
    std::string format;
};

inline uint8_t mean_at(const TwoLines& l, size_t k) {
    return static_cast<uint8_t>((l.upper[k] + l.lower[k]) / 2);
}

inline size_t distance_at(const TwoLines& l, size_t k) {
    if (l.format == "Mono8") return 1;
    if (l.format == "BGR24" || l.format == "RGB24") return 3;
    return l.format == "YUV422" && k % 2 == 0 ? 2 : 4;
}

inline bool is_edge(const TwoLines& l, size_t k) {
    const size_t from_end = l.stride - 1 - k;
    if (l.format == "YUV422")
        return k == 0 || k == 1 || k == 3 || from_end == 0 || from_end == 1 || from_end == 2;
    const size_t edge = distance_at(l, k);
    return k < edge || from_end < edge;
}

inline uint8_t interior(const TwoLines& l, FieldMethod method, size_t k) {
    const size_t d = distance_at(l, k);
    const uint8_t *u = l.upper, *w = l.lower;
    if (method == FieldMethod::median)
        return static_cast<uint8_t>(
            median_of_six({u[k - d], u[k], u[k + d], w[k - d], w[k], w[k + d]}));
    const int centre = u[k] + w[k], beside = u[k - d] + u[k + d] + w[k - d] + w[k + d];
    return static_cast<uint8_t>((105 * centre + 75 * beside) / 512);
}

// Writes the line between and returns how far source and destination go on.
inline size_t make_between(const TwoLines& l, FieldMethod method, uint8_t* out) {
    const bool four = l.format.find("32") != std::string::npos;
    if (method == FieldMethod::median && four) {
        const size_t p = (l.stride - 4) / 4;
        const size_t length = p > 4 ? 4 * (p - 2) : 8;
        for (size_t k = 0; k < length; ++k)
            out[k] = k < 4 || k >= length - 4 ? mean_at(l, k) : interior(l, method, k);
        return length;
    }
    for (size_t k = 0; k < l.stride; ++k) {
        if (method == FieldMethod::duplicate)
            out[k] = l.upper[k];
        else if (method == FieldMethod::average || is_edge(l, k))
            out[k] = mean_at(l, k);
        else
            out[k] = interior(l, method, k);
    }
    return l.stride;
}

inline void field_to_frame(const uint8_t* source, uint32_t stride, uint32_t height,
                           const std::string& format, FieldMethod method, bool even, uint8_t* out) {
    const auto copy = [&] {
        std::memcpy(out, source, stride);
        out += stride;
    };
    if (!even) copy();
    for (uint32_t i = 0; i + 1 < height; ++i) {
        copy();
        const size_t length = make_between({source, source + stride, stride, format}, method, out);
        out += length;
        source += length;
    }
    copy();
    if (even) copy();
}

}  // namespace reference
