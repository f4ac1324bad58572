// The table of developing loops of one level; this file is compiled once per level.
#ifdef TRV_VECTORS
#include "raw/develop/row_vec.h"
#else
#include "raw/develop/row_scalar.h"
#endif

namespace trv::TRV_LEVEL {

#ifdef TRV_VECTORS
constinit const raw::DevelopRows develop_rows{correct_bytes, correct_words, mix, bend};
#else
constinit const raw::DevelopRows develop_rows{correct<uint8_t>, correct<uint16_t>, mix, bend};
#endif

}  // namespace trv::TRV_LEVEL
