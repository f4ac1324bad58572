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
consteval void put(MakePass (&passes)[neighbour_count]) {
    passes[one] = pass<Rule, one>;
    passes[three] = pass<Rule, three>;
    passes[four] = pass<Rule, four>;
    passes[yuv] = pass<Rule, yuv>;
}

consteval Rows all_rows() {
    Rows rows{};
    rows.copy = row<Copy>;
    rows.average = row<Average>;
    put<Bilinear>(rows.bilinear);
    put<Median>(rows.median);
    return rows;
}

}  // namespace

constinit const Rows field_rows = all_rows();

}  // namespace trv::TRV_LEVEL
