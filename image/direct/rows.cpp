// The table of direct line loops of one level; this file is compiled once per level.
#include "image/direct/rule_of.h"

#ifdef TRV_VECTORS
#include "image/direct/row_vec.h"
#else
#include "image/direct/row_scalar.h"
#endif

namespace trv::TRV_LEVEL {
namespace {

template <size_t... I>
consteval direct::Rows all_rows(std::index_sequence<I...>) {
    return {{row<I, typename decltype(rule_of<I>())::Type>...}};
}

}  // namespace

constinit const direct::Rows direct_rows = all_rows(std::make_index_sequence<routing::row_count>{});

}  // namespace trv::TRV_LEVEL
