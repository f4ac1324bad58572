// The table of direct line loops of one level; this file is compiled once per level.
#include "image/api/direct_colour.h"
#include "image/api/direct_grey.h"
#include "image/api/direct_packed.h"
#include "image/api/direct_yuv.h"

#ifdef TRV_LEVEL_scalar
#include "image/api/direct_scalar.h"
#else
#include "image/api/direct_vec.h"
#endif

namespace trv::TRV_LEVEL {
namespace {

consteval direct::Rows all_rows() {
    using direct::Reader;
    using direct::Writer;
    direct::Rows rows{};
#define TRV_RULE(reader, writer, ...)                                                    \
    rows.row[static_cast<size_t>(Reader::reader)][static_cast<size_t>(Writer::writer)] = \
        row<Reader::reader, Writer::writer, __VA_ARGS__>;
#include "image/api/direct_routes.inc"
    return rows;
}

}  // namespace

constinit const direct::Rows direct_rows = all_rows();

}  // namespace trv::TRV_LEVEL
