/* A program with a buffer query of its own, exported: the raw library asks it, and of the handles
   that only it knows. */
#include <stdio.h>

#include "trvil/raw.h"
#include "trvil/tbl.h"

static uint8_t source[3] = {0x12, 0x43, 0x56};
static uint16_t destination[2];

TRV_API uint32_t TBL_BufferParameterGet(uint64_t handle, uint32_t id, void* out) {
    switch (id) {
        case TBL_PARAMETER_WIDTH:
            *(uint32_t*)out = 2;
            return 0;
        case TBL_PARAMETER_HEIGHT:
            *(uint32_t*)out = 1;
            return 0;
        case TBL_PARAMETER_STRIDE:
            *(uint32_t*)out = 4;
            return 0;
        case TBL_PARAMETER_FORMAT:
            *(uint32_t*)out = TBL_FORMAT(BAY12_C);
            return 0;
        case TBL_PARAMETER_ADDRESS:
            *(void**)out = handle == 1 ? (void*)source : (void*)destination;
            return 0;
        case TBL_PARAMETER_PRESENT:
            *(uint64_t*)out = handle == 1 || handle == 2;
            return 0;
        default:
            return 1;
    }
}

int main(void) {
    const uint32_t status = TRW_Unpack(1, TRW_PACKING_12Packed, 2);
    printf("status %u, pixels 0x%X 0x%X\n", (unsigned)status, destination[0], destination[1]);
    return !(status == 0 && destination[0] == 0x123 && destination[1] == 0x564 &&
             TRW_Unpack(1, TRW_PACKING_12Packed, 3) == TRV_STATUS_PARAMETER);
}
