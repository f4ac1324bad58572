/* Says which buffer library answered: ours knows no handle 1 (status 8), the other one knows it but
   has no format that converts (status 10). */
#include <stdio.h>

#include "trvil/til.h"

int main(void) {
    printf("status %u\n", (unsigned)TIL_Convert(1, 2));
    return 0;
}
