// The tables of formats and routes as a whole. That each pair is accepted or refused as it should
// be is tested where pairs are asked for: tests/image/exports/convert_test.cpp.
#include <gtest/gtest.h>

#include "image/format/routes.h"

namespace {

static_assert(trv::format_count == 74);
static_assert(trv::routing::table.pairs == 333);

}  // namespace
