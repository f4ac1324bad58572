/* A program with a buffer query of its own, exported: it goes before any buffer library. */
#include <stdio.h>

#include "trvil/tbl.h"
#include "trvil/til.h"

static uint8_t source[4] = {10, 20, 30, 40};
static uint8_t destination[12];
static unsigned asked;

TRV_API uint32_t TBL_BufferParameterGet(uint64_t handle, uint32_t id, void* out) {
    ++asked;
    switch (id) {
        case TBL_PARAMETER_WIDTH:
        case TBL_PARAMETER_HEIGHT:
            *(uint32_t*)out = 2;
            return 0;
        case TBL_PARAMETER_STRIDE:
            *(uint32_t*)out = handle == 1 ? 2 : 6;
            return 0;
        case TBL_PARAMETER_FORMAT:
            *(uint32_t*)out = handle == 1 ? TBL_FORMAT(BAY8) : TBL_FORMAT(BGR24);
            return 0;
        case TBL_PARAMETER_ADDRESS:
            *(uint8_t**)out = handle == 1 ? source : destination;
            return 0;
        case TBL_PARAMETER_BAYER_METHOD:
            *(uint32_t*)out = TBL_BAYER_METHOD_DUP;
            return 0;
        case TBL_PARAMETER_BAYER_PHASE:
            *(uint32_t*)out = TBL_BAYER_PHASE_A;
            return 0;
        case TBL_PARAMETER_PRESENT:
            *(uint64_t*)out = 1;
            return 0;
        default:
            return 1;
    }
}

int main(void) {
    const uint32_t status = TIL_Convert(1, 2);
    printf("status %u, asked %u times, first pixel %u %u %u\n", (unsigned)status, asked,
           destination[0], destination[1], destination[2]);
    /* RGGB: red is the sample, green its right and blue its lower right neighbour. */
    return !(status == 0 && asked == 23 && destination[0] == 40 && destination[1] == 20 &&
             destination[2] == 10);
}
