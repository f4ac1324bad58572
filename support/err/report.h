// How a routine says what failed: return Report(psErrInfo, __func__, status, "Failed to ... [%s]",
// name);
#pragma once

#include "trvil/obl.h"

namespace trv::support {

// OBL_SetErrInfo that hands the status back. Cold: what leads here is kept out of the way of
// success.
[[gnu::cold]] uint32_t Report(OBL_ErrInfo* psErrInfo, const char* function, uint32_t status,
                              const char* format, ...) OBL_PRINTF_FORMAT(4, 5);

}  // namespace trv::support
