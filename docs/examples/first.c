#include <trvil/tbl.h>
#include <trvil/til.h>

int main(void) {
    static uint16_t raw[480][640]; /* a mosaic RGGB of 10 bits, as a camera leaves it in memory */
    uint64_t mosaic = 0, picture = 0;
    for (int i = 0; i < 480 * 640; ++i) raw[i / 640][i % 640] = (uint16_t)(i % 640 + i / 1280);
    TBS_BufferWrap(&mosaic, 640, 480, TBL_FORMAT(BAY10_A), raw, sizeof raw, 0, NULL, NULL);
    TBS_BufferCreate(&picture, 640, 480, TBL_FORMAT(BGR24));
    uint32_t status = TIL_Convert(mosaic, picture);
    if (status == TRV_STATUS_OK) status = TIL_FileWrite(picture, "first.tif", TIL_FILE_TIFF);
    TBS_BufferRelease(&picture);
    TBS_BufferRelease(&mosaic);
    return (int)status; /* 0: first.tif holds the picture */
}
