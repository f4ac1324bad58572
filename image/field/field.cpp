#include "image/field/field.h"

#include "image/field/lines.h"

namespace trv::field {
namespace {

void duplicate_lines(const Field& field) {
    walk(field, [&](const uint8_t* upper, const uint8_t*, uint8_t* out) {
        field.rows->copy(upper, upper, out, field.stride, field.fetch_ahead);
        return size_t{field.stride};
    });
}

void average_lines(const Field& field) {
    walk(field, [&](const uint8_t* upper, const uint8_t* lower, uint8_t* out) {
        field.rows->average(upper, lower, out, field.stride, field.fetch_ahead);
        return size_t{field.stride};
    });
}

void interpolate(Method method, Neighbour neighbour, const Field& field) {
    const bool is_median = method == Method::median;
    const Row row = is_median ? field.rows->median[neighbour] : field.rows->bilinear[neighbour];
    walk(field, [&](const uint8_t* upper, const uint8_t* lower, uint8_t* out) {
        const Between line{upper, lower, out, field.stride, field.fetch_ahead};
        if (!is_median) return make_line<Bilinear>(line, row, neighbour);
        return neighbour == four ? make_short_median_line(line, row)
                                 : make_line<Median>(line, row, neighbour);
    });
}

}  // namespace

bool find_neighbour(uint32_t code, Neighbour* neighbour) {
    const Format* format = find_whole_format(code);
    if (format == nullptr || sample_bytes(*format) != 1) return false;
    switch (format->family) {
        case Family::grey:
            *neighbour = one;
            return true;
        case Family::colour:
            *neighbour = format->stored == 24 ? three : four;
            return true;
        case Family::yuv:
            *neighbour = yuv;
            return true;
        case Family::word:
        case Family::bayer:
            return false;
    }
    return false;
}

void make_frame(Method method, Neighbour neighbour, const Field& field) {
    if (field.height == 0) return;  // nothing to make a frame of
    if (method == Method::duplicate)
        duplicate_lines(field);
    else if (method == Method::average)
        average_lines(field);
    else
        interpolate(method, neighbour, field);
}

}  // namespace trv::field
