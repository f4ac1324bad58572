#include <stddef.h>
#include <trvil/raw.h>
#include <trvil/tbl.h>

int main(void) {
    static uint8_t packed[480][960]; /* 640 pixels of 12Packed in a line, as a camera sends them */
    uint64_t source = 0, mosaic = 0;
    TBS_BufferWrap(&source, 640, 480, TBL_FORMAT(Mono8), packed, sizeof packed, 960, NULL, NULL);
    TBS_BufferCreate(&mosaic, 640, 480, TBL_FORMAT(BAY12_A));
    uint32_t status = TRW_Unpack(source, TRW_PACKING_12Packed, mosaic);
    TBS_BufferRelease(&mosaic);
    TBS_BufferRelease(&source);
    return (int)status; /* 0: the mosaic holds the picture, ready for TIL_Convert */
}
