/* A buffer query of the program's own, exported: it goes before any buffer library. */
#include <stdio.h>

#include "trvil/tbl.h"

/* Handles 1 and 2. */
static struct {
    uint32_t width, height, stride, format;
    void* memory;
} pictures[2];
static unsigned asked;

static uint32_t answer(void* out, uint32_t value) {
    *(uint32_t*)out = value;
    return 0;
}

TRV_API uint32_t TBL_BufferParameterGet(uint64_t handle, uint32_t id, void* out) {
    ++asked;
    if (handle != 1 && handle != 2) return 1;
    switch (id) {
        case TBL_PARAMETER_WIDTH:
            return answer(out, pictures[handle - 1].width);
        case TBL_PARAMETER_HEIGHT:
            return answer(out, pictures[handle - 1].height);
        case TBL_PARAMETER_STRIDE:
            return answer(out, pictures[handle - 1].stride);
        case TBL_PARAMETER_FORMAT:
            return answer(out, pictures[handle - 1].format);
        case TBL_PARAMETER_ADDRESS:
            *(void**)out = pictures[handle - 1].memory;
            return 0;
        case TBL_PARAMETER_BAYER_METHOD:
            return answer(out, TBL_BAYER_METHOD_DUP);
        case TBL_PARAMETER_BAYER_PHASE:
            return answer(out, TBL_BAYER_PHASE_A);
        case TBL_PARAMETER_PRESENT:
            *(uint64_t*)out = 1;
            return 0;
        default:
            return 1;
    }
}
