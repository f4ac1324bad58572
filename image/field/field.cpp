#include "image/field/field.h"

#include "image/field/lines.h"
#include "image/field/walk.h"
#include "trvil/status.h"

namespace trv::field {
namespace {

bool reads_format(Method method) {
    return method == Method::bilinear || method == Method::median;
}

// In the order of the queries, which is part of the contract with the buffer library.
uint32_t read_field(Method method, const Buffer& from, const Buffer& to, Field* field,
                    uint32_t* format) {
    if (!from.present()) return TRV_STATUS_PARAMETER;
    // Deliberate: the destination is asked, and its answer not looked at. The entry has tested
    // both; who calls a method directly gets no check of the destination's handle.
    static_cast<void>(to.present());
    if ((field->source = from.address()) == nullptr) return TRV_STATUS_PARAMETER;
    if ((field->destination = to.address()) == nullptr) return TRV_STATUS_PARAMETER;
    if (reads_format(method) && (*format = from.format()) == 0) return TRV_STATUS_PARAMETER;
    field->stride = from.stride();
    const uint64_t destination_stride = to.stride();
    field->height = from.height();
    const uint64_t destination_height = to.height();
    const uint64_t width = from.width();
    static_cast<void>(to.width());
    // Deliberate: pixels of the source against bytes of the destination. Deeper pixels need more.
    return 2 * width * field->height > destination_stride * destination_height
               ? TRV_STATUS_PARAMETER
               : TRV_STATUS_OK;
}

bool find_neighbour(uint32_t format, Neighbour* neighbour) {
    switch (format) {
        case TBL_FORMAT(Mono8):
            *neighbour = one;
            return true;
        case TBL_FORMAT(BGR24):
        case TBL_FORMAT(RGB24):
            *neighbour = three;
            return true;
        case TBL_FORMAT(XBGR32):
        case TBL_FORMAT(BGRX32):
        case TBL_FORMAT(XRGB32):
        case TBL_FORMAT(RGBX32):
        case TBL_FORMAT(RGBA32):
            *neighbour = four;
            return true;
        case TBL_FORMAT(YUV422):
            *neighbour = yuv;
            return true;
        default:
            return false;
    }
}

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

uint32_t run(const Rows& rows, bool fetch_ahead, Method method, Handle source, Handle destination,
             uint32_t flag) {
    Field field{};
    uint32_t format = 0;
    const Buffer from(source), to(destination);
    const uint32_t status = read_field(method, from, to, &field, &format);
    if (status != TRV_STATUS_OK) return status;
    Neighbour neighbour = one;
    if (reads_format(method) && !find_neighbour(format, &neighbour)) return TRV_STATUS_UNSUPPORTED;
    if (field.height == 0) return TRV_STATUS_OK;  // nothing to make a frame of
    field.rows = &rows;
    field.fetch_ahead = fetch_ahead;
    field.even_lines = flag != 0;
    if (method == Method::duplicate)
        duplicate_lines(field);
    else if (method == Method::average)
        average_lines(field);
    else
        interpolate(method, neighbour, field);
    return TRV_STATUS_OK;
}

}  // namespace trv::field
