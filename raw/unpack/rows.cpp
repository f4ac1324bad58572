// The table of unpacking loops of one level; this file is compiled once per level.
#include <utility>

#ifdef TRV_VECTORS
#include "raw/unpack/row_vec.h"
#else
#include "raw/unpack/row_scalar.h"
#endif

namespace trv::TRV_LEVEL {
namespace {

template <size_t... P>
consteval raw::Rows all_rows(std::index_sequence<P...>) {
    return {{row<raw::first_alike(P)>...}};
}

}  // namespace

constinit const raw::Rows unpack_rows = all_rows(std::make_index_sequence<raw::packing_count>{});

}  // namespace trv::TRV_LEVEL
