// The table of direct line loops of one level; this file is compiled once per level.
#include "image/direct/colour.h"
#include "image/direct/grey.h"
#include "image/direct/packed.h"
#include "image/direct/yuv.h"

#ifdef TRV_VECTORS
#include "image/direct/row_vec.h"
#else
#include "image/direct/row_scalar.h"
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
#include "image/direct/rules.inc"
    return rows;
}

}  // namespace

constinit const direct::Rows direct_rows = all_rows();

}  // namespace trv::TRV_LEVEL
