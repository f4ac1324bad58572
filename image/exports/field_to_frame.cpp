#include "image/exports/field_to_frame.h"

#include "image/field/field.h"
#include "trvil/til.h"

namespace trv {

uint32_t field_to_frame(const Level& level, Handle source, Handle destination, uint32_t method,
                        uint32_t field_flag) {
    if (!Buffer(source).present() || !Buffer(destination).present()) return TRV_STATUS_PARAMETER;
    if (method >= static_cast<uint32_t>(field::Method::count)) return TRV_STATUS_UNSUPPORTED;
    return field::run(*level.field, level.memory->fetches_fields,
                      static_cast<field::Method>(method), source, destination, field_flag);
}

}  // namespace trv

using trv::field::Method;

namespace {

uint32_t run(Method method, uint64_t source, uint64_t destination, uint32_t field_flag) {
    const trv::Level& level = trv::current_level();
    return trv::field::run(*level.field, level.memory->fetches_fields, method, source, destination,
                           field_flag);
}

}  // namespace

uint32_t TIL_FieldToFrame(uint64_t source, uint64_t destination, uint32_t method,
                          uint32_t field_flag) {
    return trv::field_to_frame(trv::current_level(), source, destination, method, field_flag);
}

uint32_t TIL_FieldToFrame_LineDup(uint64_t source, uint64_t destination, uint32_t field_flag) {
    return run(Method::duplicate, source, destination, field_flag);
}

uint32_t TIL_FieldToFrame_LineAve(uint64_t source, uint64_t destination, uint32_t field_flag) {
    return run(Method::average, source, destination, field_flag);
}

uint32_t TIL_FieldToFrame_Bilinear(uint64_t source, uint64_t destination, uint32_t field_flag) {
    return run(Method::bilinear, source, destination, field_flag);
}

uint32_t TIL_FieldToFrame_Median(uint64_t source, uint64_t destination, uint32_t field_flag) {
    return run(Method::median, source, destination, field_flag);
}
