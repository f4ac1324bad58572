#include "raw/develop/recipe.h"

#include <stdlib.h>

namespace trv::raw {

WordPlane::~WordPlane() {
    free(words_);
}

bool WordPlane::allocate(uint32_t width, uint32_t height, bool every_line) {
    width_ = width;
    every_line_ = every_line;
    size_t bytes = 0;
    if (__builtin_mul_overflow(size_t{width} * sizeof(uint16_t), size_t{every_line ? height : 2},
                               &bytes))
        return false;
    words_ = static_cast<uint16_t*>(malloc(bytes));
    return words_ != nullptr;
}

}  // namespace trv::raw

TRW_Recipe::~TRW_Recipe() {
    free(repairs);
    free(curve);
}

const trv::raw::Repair* TRW_Recipe::repairs_from(uint32_t y) const {
    size_t first = 0, end = repair_count;
    while (first < end) {
        const size_t middle = first + (end - first) / 2;
        if (repairs[middle].y < y)
            first = middle + 1;
        else
            end = middle;
    }
    return repairs + first;
}
