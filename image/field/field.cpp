#include "image/field/field.h"

#include "image/field/lines.h"

namespace trv::field {
namespace {

// `synthesise` makes a line from two and says how many bytes it wrote. Both places go on by that
// number: it is the stride for every rule but one (image/field/lines.h).
template <typename Synthesise>
void walk_by_lines(const Field& field, const Synthesise& synthesise) {
    walk(field, [&](Place& at, uint32_t) {
        copy_line(field, at.from, at.to);
        const size_t made = synthesise(at.from, at.to);
        at.from += made;
        at.to += field.stride + made;
        return uint32_t{1};
    });
}

void make_whole_lines(Row row, const Field& field) {
    walk_by_lines(field, [&](const uint8_t* from, uint8_t* to) {
        row(from, from + field.stride, to + field.stride, field.stride, field.fetch_ahead);
        return size_t{field.stride};
    });
}

template <typename Rule>
void interpolate(MakePass make, Neighbour neighbour, const Field& field) {
    walk(field, [&](Place& at, uint32_t left) {
        const uint32_t lines = left < field.pass_lines ? left : field.pass_lines;
        const size_t stride = field.stride;
        make_lines<Rule>({at.from, at.to, stride, 0, lines, field.fetch_ahead}, make, neighbour);
        at.from += lines * stride;
        at.to += 2 * lines * stride;
        return lines;
    });
}

void make_short_medians(MakePass make, const Field& field) {
    walk_by_lines(field, [&](const uint8_t* from, uint8_t* to) {
        return make_short_median_line({from, to, field.stride, 0, 1, field.fetch_ahead}, make);
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
    const Rows& rows = *field.rows;
    switch (method) {
        case Method::duplicate:
            return make_whole_lines(rows.copy, field);
        case Method::average:
            return make_whole_lines(rows.average, field);
        case Method::bilinear:
            return interpolate<Bilinear>(rows.bilinear[neighbour], neighbour, field);
        default:
            if (neighbour == four) return make_short_medians(rows.median[four], field);
            return interpolate<Median>(rows.median[neighbour], neighbour, field);
    }
}

}  // namespace trv::field
