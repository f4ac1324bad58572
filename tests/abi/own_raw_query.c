/* The raw library asks the program's own query, and of the handles that only it knows. */
#include "own_query.h"

#include "trvil/raw.h"

int main(void) {
    uint8_t source[3] = {0x12, 0x43, 0x56};
    uint16_t destination[2];
    pictures[0].width = 2;
    pictures[0].height = 1;
    pictures[0].stride = 4;
    pictures[0].format = TBL_FORMAT(BAY12_C);
    pictures[0].memory = source;
    pictures[1] = pictures[0];
    pictures[1].memory = destination;
    const uint32_t status = TRW_Unpack(1, TRW_PACKING_12Packed, 2);
    printf("status %u, pixels 0x%X 0x%X\n", (unsigned)status, destination[0], destination[1]);
    return !(status == 0 && destination[0] == 0x123 && destination[1] == 0x564 &&
             TRW_Unpack(1, TRW_PACKING_12Packed, 3) == TRV_STATUS_PARAMETER);
}
