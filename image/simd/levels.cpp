#include "image/simd/levels.h"

namespace trv {

// Each level's own is beside its vector operations: whether the processor has all instructions of
// the level, and the operating system saves all registers of it.
#define TRV_LEVEL_ROW(level) \
    namespace level {        \
    bool is_supported();     \
    }
#include "image/simd/levels.inc"

bool scalar::is_supported() {
    return true;
}

unsigned highest_level() {
    unsigned supported = 0;
#define TRV_LEVEL_ROW(level)                          \
    if (!level::is_supported()) return supported - 1; \
    ++supported;
#include "image/simd/levels.inc"
    return supported - 1;
}

}  // namespace trv
