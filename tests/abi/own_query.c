/* The image library asks the program's own query. */
#include "own_query.h"

#include "trvil/til.h"

int main(void) {
    uint8_t source[4] = {10, 20, 30, 40}, destination[12];
    pictures[0].width = pictures[0].height = pictures[0].stride = 2;
    pictures[0].format = TBL_FORMAT(BAY8);
    pictures[0].memory = source;
    pictures[1] = pictures[0];
    pictures[1].stride = 6;
    pictures[1].format = TBL_FORMAT(BGR24);
    pictures[1].memory = destination;
    const uint32_t status = TIL_Convert(1, 2);
    printf("status %u, asked %u times, first pixel %u %u %u\n", (unsigned)status, asked,
           destination[0], destination[1], destination[2]);
    /* RGGB: red is the sample, green its right and blue its lower right neighbour. */
    return !(status == 0 && asked == 23 && destination[0] == 40 && destination[1] == 20 &&
             destination[2] == 10);
}
