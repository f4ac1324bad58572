// Of a processor that cannot be asked.
#include "image/simd/processor.h"

namespace trv {

Make processor_make() {
    return Make::other;
}

uint64_t last_cache_bytes() {
    return 0;
}

}  // namespace trv
