#include <stdlib.h>
#include <string.h>

#include "tests/calls/calls.h"
#include "trvil/raw.h"
#include "trvil/tbl.h"

enum { lines = 3, picture_bytes = 4096 };

static unsigned char packed[picture_bytes];

/* A mosaic of odd width whose samples lie in as many bytes as they need, and every byte of the
   picture undefined before. */
static void convert(TRW_Pool* pool) {
    enum { width = 301, height = 200, line = (width * 3 + 1) / 2 };
    unsigned char* from = calloc(height, line);
    unsigned char* to = malloc((size_t)width * height * 3);
    uint64_t source = 0, destination = 0;
    TRW_Settings settings;
    if (from == NULL || to == NULL) abort();
    memset(&settings, 0, sizeof settings);
    settings.size = sizeof settings;
    settings.method = TBL_BAYER_METHOD_MED;
    GIVES(0, TBS_BufferWrap, AT(&source), width, height, TBL_FORMAT(BAY8), AT(from),
          (size_t)line * height, line, 0, 0);
    GIVES(0, TBS_BufferWrap, AT(&destination), width, height, TBL_FORMAT(BGR24), AT(to),
          (size_t)width * height * 3, 0, 0, 0);
    GIVES(TRV_STATUS_OK, TRW_Convert, source, TRW_PACKING_12p, destination, AT(&settings),
          AT(pool));
    char words[300];
    GIVES(TRV_STATUS_OK, TRW_ExplainConvert, source, TRW_PACKING_12p, destination, AT(&settings),
          AT(pool), AT(words), sizeof words);
    use(to, (size_t)width * height * 3);
    GIVES(TRV_STATUS_UNSUPPORTED, TRW_Convert, source, TRW_PACKING_END, destination, 0, AT(pool));
    GIVES(0, TBS_BufferRelease, AT(&source));
    GIVES(0, TBS_BufferRelease, AT(&destination));
    free(from);
    free(to);
}

static void convert_in_threads(void) {
    TRW_Pool* pool = NULL;
    uint32_t threads = 0;
    GIVES(TRV_STATUS_OK, TRW_PoolCreate, AT(&pool), 3);
    GIVES(TRV_STATUS_OK, TRW_PoolThreadsGet, AT(pool), AT(&threads));
    convert(NULL);
    convert(pool);
    GIVES(TRV_STATUS_OK, TRW_PoolDestroy, AT(&pool));
    GIVES(TRV_STATUS_PARAMETER, TRW_PoolDestroy, AT(&pool));
}

/* Grey samples, with every step that grey has. */
static void develop(void) {
    enum { width = 67, height = 9, bytes = width * height * 2 };
    static const TRW_Defect defect = {5, 5};
    unsigned char* from = calloc(1, bytes);
    unsigned char* to = malloc(bytes);
    uint64_t source = 0, destination = 0;
    TRW_DevelopSettings settings;
    TRW_Recipe* recipe = NULL;
    const char* why = NULL;
    if (from == NULL || to == NULL) abort();
    memset(from, 0x37, bytes);
    memset(&settings, 0, sizeof settings);
    settings.size = sizeof settings;
    settings.curve = TRW_CURVE_SRGB;
    settings.defects = &defect;
    settings.defect_count = 1;
    settings.gains[0] = 1.5;
    GIVES(0, TBS_BufferWrap, AT(&source), width, height, TBL_FORMAT(Mono14), AT(from), bytes, 0, 0,
          0);
    GIVES(0, TBS_BufferWrap, AT(&destination), width, height, TBL_FORMAT(Mono16), AT(to), bytes, 0,
          0, 0);
    GIVES(TRV_STATUS_PARAMETER, TRW_RecipeCreate, AT(&recipe), source, 0, 0, AT(&why));
    GIVES(TRV_STATUS_OK, TRW_RecipeCreate, AT(&recipe), source, 0, AT(&settings), AT(&why));
    GIVES(TRV_STATUS_OK, TRW_Develop, source, destination, AT(recipe), 0);
    use(to, bytes);
    GIVES(TRV_STATUS_OK, TRW_RecipeDestroy, AT(&recipe));
    GIVES(TRV_STATUS_PARAMETER, TRW_RecipeDestroy, AT(&recipe));
    GIVES(0, TBS_BufferRelease, AT(&source));
    GIVES(0, TBS_BufferRelease, AT(&destination));
    free(from);
    free(to);
}

/* A picture whose every byte beyond what the packing needs is undefined. */
static void unpack(const TRW_PackingInfo* info, uint32_t packing, uint32_t width) {
    unsigned char* memory = malloc(picture_bytes);
    uint64_t source = 0, destination = 0;
    if (memory == NULL) abort();
    GIVES(0, TBS_BufferWrap, AT(&source), width, lines, TBL_FORMAT(Mono8), AT(packed),
          sizeof packed, (uint32_t)info->line_bytes, 0, 0);
    GIVES(0, TBS_BufferWrap, AT(&destination), width, lines, info->format, AT(memory),
          picture_bytes, 0, 0, 0);
    GIVES(TRV_STATUS_OK, TRW_Unpack, source, packing, destination);
    use(memory, (size_t)width * 2 * lines);
    GIVES(TRV_STATUS_UNSUPPORTED, TRW_Unpack, source, TRW_PACKING_END, destination);
    char words[80];
    GIVES(TRV_STATUS_OK, TRW_Explain, source, packing, destination, AT(words), sizeof words);
    GIVES(0, TBS_BufferRelease, AT(&source));
    GIVES(0, TBS_BufferRelease, AT(&destination));
    free(memory);
}

static void read_names(void) {
    TRW_Reading reading;
    TRW_Route route;
    memset(&reading, 0, sizeof reading);
    memset(&route, 0, sizeof route);
    reading.size = sizeof reading;
    route.size = sizeof route;
    GIVES(TRV_STATUS_OK, TRW_FindName, AT("pfnc:BayerRG12Packed"), AT(&reading));
    GIVES(TRV_STATUS_OK, TRW_FindCode, TRW_SYSTEM_PFNC, reading.code, AT(&reading));
    GIVES(TRV_STATUS_OK, TRW_NameOf, TRW_SYSTEM_PFNC, reading.format, reading.packing, 0,
          AT(&reading));
    GIVES(TRV_STATUS_OK, TRW_NameAt, 0, AT(&reading));
    GIVES(TRV_STATUS_OK, TRW_PlanRoute, TBL_FORMAT(BAY12P_D), TBL_FORMAT(RGB24), 0, 0, AT(&route));
}

void call_raw(void) {
    static const uint32_t widths[] = {1, 37, 300};
    TRW_PackingInfo info;
    memset(&info, 0, sizeof info);
    info.size = sizeof info;
    for (uint32_t packing = 1; packing < TRW_PACKING_END; ++packing)
        for (size_t i = 0; i < sizeof widths / sizeof widths[0]; ++i) {
            GIVES(TRV_STATUS_OK, TRW_PackingInfoGet, packing, 0, widths[i], AT(&info));
            unpack(&info, packing, widths[i]);
        }
    GIVES(TRV_STATUS_PARAMETER, TRW_PackingInfoGet, 1, 0, 1, 0);
    read_names();
    convert_in_threads();
    develop();
}
