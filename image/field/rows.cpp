// The table of field rows of one level; this file is compiled once per level.
#ifdef TRV_VECTORS
#include "image/field/rows_vec.h"
#else
#include "image/field/rows_scalar.h"
#endif

namespace trv::TRV_LEVEL {
namespace {

using namespace field;

template <typename Rule>
consteval void put(Row (&rows)[neighbour_count]) {
    rows[one] = row<Rule, one>;
    rows[three] = row<Rule, three>;
    rows[four] = row<Rule, four>;
    rows[yuv] = row<Rule, yuv>;
}

consteval Rows all_rows() {
    Rows rows{};
    rows.copy = row<Copy, one>;
    rows.average = row<Average, one>;
    put<Bilinear>(rows.bilinear);
    put<Median>(rows.median);
    return rows;
}

}  // namespace

constinit const Rows field_rows = all_rows();

}  // namespace trv::TRV_LEVEL
