#include <stdio.h>
#include <trvil/tbl.h>
#include <trvil/til.h>

int main(void) {
    static uint16_t raw[480][640]; /* a mosaic of 10 bits, as a camera leaves it in memory */
    uint64_t source = 0, picture = 0;
    for (int y = 0; y < 480; ++y)
        for (int x = 0; x < 640; ++x) raw[y][x] = (uint16_t)(x + y / 2);
    TBS_BufferWrap(&source, 640, 480, TBL_FORMAT(BAY10), raw, sizeof raw, 0, NULL, NULL);
    TBS_BufferParameterSet(source, TBL_PARAMETER_BAYER_METHOD, TBL_BAYER_METHOD_DUP);
    TBS_BufferParameterSet(source, TBL_PARAMETER_BAYER_PHASE, TBL_BAYER_PHASE_A);
    TBS_BufferCreate(&picture, 640, 480, TBL_FORMAT(BGR24));
    uint32_t status = TIL_Convert(source, picture);
    if (status == TRV_STATUS_OK) status = TIL_FileWrite(picture, "first.tif", TIL_FILE_TIFF);
    printf("status %u\n", status);
    TBS_BufferRelease(&picture);
    TBS_BufferRelease(&source);
    return status != TRV_STATUS_OK;
}
