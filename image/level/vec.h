// The vector vocabulary of the level that is being compiled.
#pragma once

#if defined(TRV_LEVEL_v2)
#include "image/level/vec_v2.h"
#elif defined(TRV_LEVEL_v3)
#include "image/level/vec_v3.h"
#elif defined(TRV_LEVEL_v4)
#include "image/level/vec_v4.h"
#else
#error "no vector vocabulary for this level"
#endif
