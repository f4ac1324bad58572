#include "image/exports/field_to_frame.h"

#include "trvil/til.h"

namespace trv {
namespace field {
namespace {

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

}  // namespace

uint32_t run(const Level& level, Method method, Handle source, Handle destination, uint32_t flag) {
    Field field{};
    uint32_t format = 0;
    const Buffer from(source), to(destination);
    const uint32_t status = read_field(method, from, to, &field, &format);
    if (status != TRV_STATUS_OK) return status;
    Neighbour neighbour = one;
    if (reads_format(method) && !find_neighbour(format, &neighbour)) return TRV_STATUS_UNSUPPORTED;
    field.rows = level.field;
    field.fetch_ahead = level.memory->fetches_fields;
    field.pass_lines = level.memory->field_lines(field.stride);
    field.even_lines = flag != 0;
    make_frame(method, neighbour, field);
    return TRV_STATUS_OK;
}

}  // namespace field

uint32_t field_to_frame(const Level& level, Handle source, Handle destination, uint32_t method,
                        uint32_t field_flag) {
    if (!Buffer(source).present() || !Buffer(destination).present()) return TRV_STATUS_PARAMETER;
    if (method >= static_cast<uint32_t>(field::Method::count)) return TRV_STATUS_UNSUPPORTED;
    return field::run(level, static_cast<field::Method>(method), source, destination, field_flag);
}

}  // namespace trv

using trv::field::Method;

uint32_t TIL_FieldToFrame(uint64_t source, uint64_t destination, uint32_t method,
                          uint32_t field_flag) {
    return trv::field_to_frame(trv::current_level(), source, destination, method, field_flag);
}

uint32_t TIL_FieldToFrame_LineDup(uint64_t source, uint64_t destination, uint32_t field_flag) {
    return run(trv::current_level(), Method::duplicate, source, destination, field_flag);
}

uint32_t TIL_FieldToFrame_LineAve(uint64_t source, uint64_t destination, uint32_t field_flag) {
    return run(trv::current_level(), Method::average, source, destination, field_flag);
}

uint32_t TIL_FieldToFrame_Bilinear(uint64_t source, uint64_t destination, uint32_t field_flag) {
    return run(trv::current_level(), Method::bilinear, source, destination, field_flag);
}

uint32_t TIL_FieldToFrame_Median(uint64_t source, uint64_t destination, uint32_t field_flag) {
    return run(trv::current_level(), Method::median, source, destination, field_flag);
}
