#include "image/field/rule.h"
#include "trvil/til.h"

uint32_t TRV_median6(uint32_t a, uint32_t b, uint32_t c, uint32_t d, uint32_t e, uint32_t f) {
    return trv::field::median6(a & 0xFF, b & 0xFF, c & 0xFF, d & 0xFF, e & 0xFF, f & 0xFF);
}
