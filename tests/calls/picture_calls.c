#define _POSIX_C_SOURCE 200809L
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "tests/calls/calls.h"
#include "trvil/tbl.h"
#include "trvil/til.h"

enum { width = 53, height = 5, picture_bytes = 65536 };

static const struct {
    uint32_t code;
    unsigned stored;
} formats[] = {
#define TRV_FORMAT(code, name, stored, significant, family, group, phase, order, ...) \
    {TBL_FORMAT(name), stored},
#include "trvil/formats.inc"
};
enum { format_count = sizeof formats / sizeof formats[0] };

static unsigned char source_bytes[picture_bytes];

static uint64_t source_of(uint32_t format, uint32_t pixels, uint32_t lines) {
    uint64_t handle = 0;
    GIVES(0, TBS_BufferWrap, AT(&handle), pixels, lines, format, AT(source_bytes),
          sizeof source_bytes, 0, 0, 0);
    return handle;
}

static uint64_t destination_of(uint32_t format, uint32_t pixels, uint32_t lines, void* memory) {
    uint64_t handle = 0;
    GIVES(0, TBS_BufferWrap, AT(&handle), pixels, lines, format, AT(memory), picture_bytes, 0, 0,
          0);
    return handle;
}

static void set_mosaic(uint64_t handle, uint32_t method, uint32_t phase) {
    GIVES(0, TBS_BufferParameterSet, handle, TBL_PARAMETER_BAYER_METHOD, method);
    GIVES(0, TBS_BufferParameterSet, handle, TBL_PARAMETER_BAYER_PHASE, phase);
}

/* Whole pixels of what was written; pads of 4-byte pixels are left as they were, so they are
   defined beforehand. */
static uint32_t convert(size_t from, size_t to, uint32_t method, uint32_t phase, uint32_t pixels) {
    unsigned char* memory = malloc(picture_bytes);
    const uint64_t source = source_of(formats[from].code, pixels, height);
    const uint64_t destination = destination_of(formats[to].code, pixels, height, memory);
    uint32_t status = 0;
    uint64_t gone[2] = {source, destination};
    if (memory == NULL) abort();
    if (formats[to].stored == 32) memset(memory, 0, picture_bytes);
    set_mosaic(source, method, phase);
    status = (uint32_t)CALL(TIL_Convert, source, destination);
    if (status == 0) use(memory, (size_t)pixels * formats[to].stored / 8 * height);
    GIVES(0, TBS_BufferRelease, AT(&gone[0]));
    GIVES(0, TBS_BufferRelease, AT(&gone[1]));
    free(memory);
    return status;
}

static void convert_all_pairs(void) {
    size_t accepted = 0;
    for (size_t from = 0; from < format_count; ++from)
        for (size_t to = 0; to < format_count; ++to) {
            const uint32_t method = (uint32_t)(from % 3 + 1) << 8 | 9;
            const uint32_t phase = (uint32_t)(to % 4 + 1) << 8 | 10;
            const uint32_t status = convert(from, to, method, phase, width);
            accepted += status == TRV_STATUS_OK || status == TRV_STATUS_BAYER_SETTING;
            if (status == TRV_STATUS_OK) (void)convert(from, to, method, phase, 300);
        }
    if (accepted != 333) complain("TIL_Convert", "accepted pairs, not 333", accepted);
}

struct Kernel {
    const char* name;
    AnyFunction function;
    uint32_t bits;
    uint32_t stored;
};

static const struct Kernel kernels[] = {
#define KERNEL_BAY8 8
#define KERNEL_BAYn 12
#define KERNEL_RGB16 16
#define KERNEL_BGR16 16
#define KERNEL_BGR24 24
#define KERNEL_BGRX32 32
#define KERNEL_RGBX32 32
#define TRV_KERNEL(input, output, method, phase)                                  \
    {"TIL_" #input "_to_" #output "_" #method "_" #phase,                         \
     (AnyFunction)TIL_##input##_to_##output##_##method##_##phase, KERNEL_##input, \
     KERNEL_##output},
#include "image/format/members.inc"
};

static uint32_t format_stored_as(uint32_t bits) {
    return bits == 16 ? TBL_FORMAT(RGB16) : bits == 24 ? TBL_FORMAT(BGR24) : TBL_FORMAT(BGRX32);
}

static void demosaic_all(void) {
    for (size_t i = 0; i < sizeof kernels / sizeof kernels[0]; ++i) {
        const struct Kernel* k = &kernels[i];
        unsigned char* memory = calloc(picture_bytes, 1);
        const uint32_t mosaic = k->bits == 8 ? TBL_FORMAT(BAY8) : TBL_FORMAT(BAY12);
        uint64_t source = source_of(mosaic, width, height);
        uint64_t destination = destination_of(format_stored_as(k->stored), width, height, memory);
        const uint64_t arguments[10] = {source, destination, k->bits};
        const uint32_t status = (uint32_t)call(k->name, k->function, arguments);
        if (status != 0) complain(k->name, "unexpected result", status);
        use(memory, (size_t)width * k->stored / 8 * height);
        GIVES(0, TBS_BufferRelease, AT(&source));
        GIVES(0, TBS_BufferRelease, AT(&destination));
        free(memory);
    }
}

static void make_frames(void) {
    static const uint32_t taken[] = {TBL_FORMAT(Mono8), TBL_FORMAT(BGR24), TBL_FORMAT(RGBX32),
                                     TBL_FORMAT(YUV422)};
    unsigned char* memory = calloc(picture_bytes, 1);
    for (size_t i = 0; i < 8; ++i) {
        uint64_t source = source_of(taken[i / 2], 72, height);
        uint64_t destination = destination_of(taken[i / 2], 72, 2 * height, memory);
        for (uint32_t method = 0; method < 4; ++method)
            GIVES(0, TIL_FieldToFrame, source, destination, method, i % 2);
        GIVES(10, TIL_FieldToFrame, source, destination, 4, 0);
        GIVES(0, TIL_FieldToFrame_LineDup, source, destination, i % 2);
        GIVES(0, TIL_FieldToFrame_LineAve, source, destination, i % 2);
        GIVES(0, TIL_FieldToFrame_Bilinear, source, destination, i % 2);
        GIVES(0, TIL_FieldToFrame_Median, source, destination, i % 2);
        use(memory, picture_bytes);
        GIVES(0, TBS_BufferRelease, AT(&source));
        GIVES(0, TBS_BufferRelease, AT(&destination));
    }
    GIVES(35, TRV_median6, 10, 20, 30, 40, 50, 60);
    free(memory);
}

static void write_files(void) {
    char path[] = "/tmp/every_call_XXXXXX";
    const int descriptor = mkstemp(path);
    FILE* stream = NULL;
    uint64_t picture = source_of(TBL_FORMAT(BGR24), width, height);
    if (descriptor < 0) abort();
    close(descriptor);
    GIVES(0, TIL_FileWrite, picture, AT(path), TIL_FILE_RAW);
    GIVES(0, TIL_FileWrite, picture, AT(path), TIL_FILE_TIFF);
    GIVES(0, TIL_FileWriteTiff, picture, AT(path));
    GIVES(10, TIL_FileWrite, picture, AT(path), 1);
    GIVES(5, TIL_FileWrite, picture, AT("/no/such/folder"), TIL_FILE_RAW);
    stream = fopen(path, "wb");
    if (stream == NULL) abort();
    GIVES(0x44, TIL_fput_ui8, AT(stream), 0x11223344);
    GIVES(0x44, TIL_fput_ui16m, AT(stream), 0x11223344);
    GIVES(0x33, TIL_fput_ui16i, AT(stream), 0x11223344);
    GIVES(0x44, TIL_fput_ui32m, AT(stream), 0x11223344);
    GIVES(0x11, TIL_fput_ui32i, AT(stream), 0x11223344);
    fclose(stream);
    unlink(path);
    GIVES(0, TBS_BufferRelease, AT(&picture));
}

static void use_buffers(void) {
    uint64_t whole = 0, view = 0, value = 0, copy = 0;
    GIVES(0, TBS_BufferCreate, AT(&whole), width, height, TBL_FORMAT(BAY12P_A));
    GIVES(0, TBS_BufferView, AT(&view), whole, 3, 1, 20, 2);
    GIVES(0, TBL_BufferParameterGet, view, TBL_PARAMETER_PRESENT, AT(&value));
    GIVES(0, TBS_BufferRetain, whole);
    copy = whole;
    GIVES(0, TBS_BufferRelease, AT(&whole));
    GIVES(0, TBS_BufferRelease, AT(&copy));
    GIVES(0, TBS_BufferRelease, AT(&view));
    GIVES(8, TBS_BufferRelease, AT(&view));
}

void call_pictures(void) {
    for (size_t i = 0; i < sizeof source_bytes; ++i)
        source_bytes[i] = (unsigned char)(i * 2654435761u >> 13);
    convert_all_pairs();
    demosaic_all();
    make_frames();
    write_files();
    use_buffers();
}
