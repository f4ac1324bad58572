/* Buffers: the query that the image library asks them by, and the embedded companion library's own
   calls (prefix TBS_) that make them.

   A handle names a picture in memory: where it lies, how large it is, how its pixels are stored.
   The image library never looks inside a handle, never keeps one beyond a call and never frees one.

   A handle is stale once each of its owners has released it: every call of this file refuses it
   from then on, also when other buffers take the place of the old one, because no handle is given
   out twice in a process. 0 is never a handle. Handles differ from process to process and do not
   follow from one another; the child of a fork has those of its parent, with owners of its own.

   Every TBS_ call returns a status of trvil/status.h. Unless its text says otherwise, a call that
   fails changes nothing, and any thread may call it at any time. */
#ifndef TRVIL_TBL_H
#define TRVIL_TBL_H

#include "trvil/status.h"

/* ---- Parameters ---- */

/* Ids of the buffer parameters. Ids 3 and 11 are 64 bits wide, all others 32 bits. */
#define TBL_PARAMETER_WIDTH 1u        /* pixels per line */
#define TBL_PARAMETER_HEIGHT 2u       /* lines */
#define TBL_PARAMETER_ADDRESS 3u      /* first byte of the first line */
#define TBL_PARAMETER_STRIDE 4u       /* bytes from the start of a line to the start of the next */
#define TBL_PARAMETER_FORMAT 7u       /* pixel format, TBL_FORMAT(name) */
#define TBL_PARAMETER_BAYER_METHOD 9u /* TBL_BAYER_METHOD_... */
#define TBL_PARAMETER_BAYER_PHASE 10u /* TBL_BAYER_PHASE_... */
#define TBL_PARAMETER_PRESENT 11u     /* not zero: the handle names a buffer */
#define TBL_PARAMETER_PACKING_OFFSET 18u /* place of a line's first pixel in its packing group */

/* How missing colours are found. The low byte repeats the parameter's id; values compare whole. */
#define TBL_BAYER_METHOD_DUP 0x109u /* nearest: copy a neighbour */
#define TBL_BAYER_METHOD_AVE 0x209u /* mean of the neighbours */
#define TBL_BAYER_METHOD_MED 0x309u /* median where there are four neighbours, mean where two */

/* Colours of the first two pixels of the first line, then of the second line. */
#define TBL_BAYER_PHASE_A 0x10Au /* RGGB */
#define TBL_BAYER_PHASE_B 0x20Au /* GRBG */
#define TBL_BAYER_PHASE_C 0x30Au /* GBRG */
#define TBL_BAYER_PHASE_D 0x40Au /* BGGR */

/* Low bytes of the pixel format codes: TBL_CODE_Mono8, TBL_CODE_BGR24, ... */
enum {
#define TRV_FORMAT(code, name, stored, significant, family, group, phase, order, ...) \
    TBL_CODE_##name = code,
#include "trvil/formats.inc"
    TBL_CODE_END
};

/* Value of parameter 7 for a format by its name: TBL_FORMAT(BGR24) is 0xC0022611. */
#define TBL_FORMAT(name) (UINT32_C(0xC0022600) + TBL_CODE_##name)

TRV_EXTERN_C_BEGIN

/* ---- Buffers ---- */

/* Reads one parameter of a buffer.

   "handle" names the buffer; "id" is one of TBL_PARAMETER_...; "out" is the address of an aligned
   64-bit slot for ids 3 and 11 and of an aligned 32-bit slot for all others.

     TRV_STATUS_OK         *out holds the value
     TRV_STATUS_PARAMETER  unknown id, stale or zero handle, or null "out"; *out is unchanged

   The image library imports this one function. A program that defines and exports a function of
   this name and shape answers in its place; so does a library of the same file name in front of
   ours.

   Never waits for another thread; may run beside any other call, on the same handle too. */
TRV_API uint32_t TBL_BufferParameterGet(uint64_t handle, uint32_t id, void* out);

/* Makes a buffer with memory of its own.

   "width" is in pixels, "height" in lines, both at least 1; "format" is TBL_FORMAT(name). Every
   line starts at a multiple of 64 bytes, and at least 64 bytes after the last line may be read and
   written: some conversions reach past the end of a line. The memory is zero. The Bayer method is
   averaging; the phase is that of a lettered Bayer code, otherwise A.

     TRV_STATUS_OK           *handle names the new buffer; the caller releases it
     TRV_STATUS_PARAMETER    "handle" is null, or a side is zero, or a line exceeds 32 bits
     TRV_STATUS_UNSUPPORTED  no such format
     TRV_STATUS_MEMORY       no memory, or too many buffers at once

   On failure *handle is unchanged. */
TRV_API uint32_t TBS_BufferCreate(uint64_t* handle, uint32_t width, uint32_t height,
                                  uint32_t format);

/* Makes a buffer around memory of the caller, which stays the caller's.

   "memory" is the first byte of the first line, "size" the bytes that follow it and may be used,
   "stride" the bytes from line to line, 0 for lines without padding. "release" is called once with
   "context" and "memory" when the last user of the buffer lets go of it; null when nothing is to be
   done. It runs on the releasing thread and may call anything but must not use the handle.

     TRV_STATUS_OK           *handle names the buffer; the caller releases it
     TRV_STATUS_PARAMETER    a null or zero argument, or stride and size cannot hold the picture
     TRV_STATUS_UNSUPPORTED  no such format
     TRV_STATUS_MEMORY       too many buffers at once

   On failure *handle is unchanged and "release" is not called. */
TRV_API uint32_t TBS_BufferWrap(uint64_t* handle, uint32_t width, uint32_t height, uint32_t format,
                                void* memory, uint64_t size, uint32_t stride,
                                void (*release)(void* context, void* memory), void* context);

/* Makes a buffer that is a rectangle of another one, without a copy.

   "x" and "y" are the rectangle's upper left pixel in "parent", "width" and "height" its size. The
   Bayer phase moves with odd x and y, and the packing offset with x. Formats of several pixels per
   group start at the byte of x's group; Mono12MP and YUV422 have no packing offset and need an even
   x. The parent's memory lives until the view is released too; the
   parent's handle does not.

     TRV_STATUS_OK         *handle names the view; the caller releases it
     TRV_STATUS_PARAMETER  stale parent, null "handle", an empty rectangle or one that leaves the
                           parent, or an odd x in Mono12MP or YUV422
     TRV_STATUS_MEMORY     too many buffers at once

   On failure *handle is unchanged. */
TRV_API uint32_t TBS_BufferView(uint64_t* handle, uint64_t parent, uint32_t x, uint32_t y,
                                uint32_t width, uint32_t height);

/* Sets the Bayer method (id 9) or the Bayer phase (id 10) of a buffer.

     TRV_STATUS_OK         done
     TRV_STATUS_PARAMETER  another id, a value that is not defined above, or a stale handle */
TRV_API uint32_t TBS_BufferParameterSet(uint64_t handle, uint32_t id, uint64_t value);

/* Adds one owner: the handle lives until it was released once more.

     TRV_STATUS_OK         done
     TRV_STATUS_PARAMETER  stale or zero handle */
TRV_API uint32_t TBS_BufferRetain(uint64_t handle);

/* Lets go of a buffer and sets *handle to 0. With its last owner the handle is stale. When
   no view of the buffer is left either, its own memory is freed or the release callback of wrapped
   memory runs.

     TRV_STATUS_OK         done
     TRV_STATUS_PARAMETER  null "handle", or stale or zero *handle */
TRV_API uint32_t TBS_BufferRelease(uint64_t* handle);

TRV_EXTERN_C_END

#endif
