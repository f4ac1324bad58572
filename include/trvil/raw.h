/* What cameras send: packings beyond the pixel formats of trvil/tbl.h become these formats; what
   other systems call them; and by which conversions one format becomes another.

   The library libtrvraw.so.0 stands above the buffer library and asks for a buffer's parameters by
   TBL_BufferParameterGet alone, so it works with buffers that a program answers for itself.

   Every call returns a status of trvil/status.h. Unless its text says otherwise, a call that fails
   writes nothing, and any thread may call it at any time. */
#ifndef TRVIL_RAW_H
#define TRVIL_RAW_H

#include "trvil/status.h"

/* ---- Packings ---- */

/* Codes of the packings: TRW_PACKING_12Packed, TRW_PACKING_RAW10, ... from 1 to TRW_PACKING_END - 1
   without a gap. */
enum {
#define TRV_PACKING(code, name, bits, target, group, bytes, order, high, low) \
    TRW_PACKING_##name = code,
#include "trvil/packings.inc"
    TRW_PACKING_END
};

/* What is known of a packing, and of a line of it. */
typedef struct TRW_PackingInfo {
    uint32_t size;         /* bytes of this record, set by the caller: sizeof(TRW_PackingInfo) */
    uint32_t bits;         /* of a sample */
    uint32_t group_pixels; /* pixels that share whole bytes */
    uint32_t group_bytes;  /* bytes of such a group */
    uint32_t format;       /* what it becomes: TBL_FORMAT of Mono10, 12, 14 or 16, or of YUV422 */
    uint32_t reserved;     /* 0 */
    uint64_t line_bytes;   /* bytes of a line up to the last one that has a bit of a sample */
    char name[16];         /* as in TRW_PACKING_name, terminated */
} TRW_PackingInfo;

TRV_EXTERN_C_BEGIN

/* Tells of a packing, and how many bytes a line of it has.

   "packing" is TRW_PACKING_...; "first" is the place of the line's first pixel in its group, 0 for
   lines that begin with a group; "width" is in pixels and may be 0. "info->size" says how much of
   the record the caller knows: as many bytes are written.

     TRV_STATUS_OK           *info is filled
     TRV_STATUS_PARAMETER    "info" is null or "info->size" is below 8; nothing is written
     TRV_STATUS_UNSUPPORTED  no such packing; nothing is written */
TRV_API uint32_t TRW_PackingInfoGet(uint32_t packing, uint32_t first, uint32_t width,
                                    TRW_PackingInfo* info);

/* ---- Unpacking ---- */

/* Unpacks a picture into 16-bit words, or brings its 4:2:2 samples into the order of YUV422.

   "source" is the packed picture. Its width, height, address, stride and packing offset count; its
   pixel format does not, as "packing" (TRW_PACKING_...) says it: Mono8 with the stride of the
   packed lines is a good one to wrap it by. Lines begin with a group, at any address and stride;
   with a packing offset, the first pixel is that place of the group at the line's address. The last
   group of a line may be incomplete.

   "destination" has a format that the samples fit: of 10, 12, 14 and 16 bits Mono10, BAY10 or one
   of its letters, and so on; YUV422 for 4:2:2. Its lines hold the width of the source at least, and
   there are as many of them or more. Values stay as they are: 10 bits give 0 to 1023.

     TRV_STATUS_OK           the destination holds the picture
     TRV_STATUS_PARAMETER    width, height, format or address of a buffer is missing or zero, a
                             stride is too small for a line, the destination has too few lines, or a
                             4:2:2 picture begins with the second pixel of a group
     TRV_STATUS_UNSUPPORTED  no such packing, or its samples do not go to the destination's format

   No byte is read that has no bit of a sample of the picture, and none is written beside its
   pixels. Source and destination must not overlap. */
TRV_API uint32_t TRW_Unpack(uint64_t source, uint32_t packing, uint64_t destination);

/* ---- Threads ---- */

TRV_EXTERN_C_END

/* Threads that wait for pictures. */
typedef struct TRW_Pool TRW_Pool;

TRV_EXTERN_C_BEGIN

/* Makes a pool.

   "threads" is how many work on a picture, from 1 to 1024; 0 stands for as many as the processors
   that the calling thread may run on. The thread that calls TRW_Convert is one of them, so one less
   is started, and a pool of 1 starts none.

     TRV_STATUS_OK         *pool is the pool; TRW_PoolDestroy ends it
     TRV_STATUS_PARAMETER  "pool" is null, or there are too many threads
     TRV_STATUS_MEMORY     no memory
     TRV_STATUS_SYSTEM     the system starts no more threads; those that it started have ended

   A pool keeps the memory that TRW_Convert takes for lines between, for its next call: as much as
   its calls needed at the same time.

   A call that fails leaves *pool as it is. Any number of threads may use a pool at the same time:
   each works on its own picture, and the pool's threads help where they find something to do. These
   block all signals and call nothing of the program's. A child made by fork has none of them: there
   the calling thread works alone, and TRW_PoolDestroy frees the memory. */
TRV_API uint32_t TRW_PoolCreate(TRW_Pool** pool, uint32_t threads);

/* Tells how many threads work on a picture, the calling one included.

     TRV_STATUS_OK         *threads is 1 to 1024
     TRV_STATUS_PARAMETER  "pool" or "threads" is null; nothing is written */
TRV_API uint32_t TRW_PoolThreadsGet(const TRW_Pool* pool, uint32_t* threads);

/* Ends a pool's threads and sets *pool to null. Calls of other threads that are under way are
   waited for; none may begin any more.

     TRV_STATUS_OK         the pool is gone
     TRV_STATUS_PARAMETER  "pool" or *pool is null */
TRV_API uint32_t TRW_PoolDestroy(TRW_Pool** pool);

/* ---- Straight to the picture ---- */

TRV_EXTERN_C_END

/* A method of TRW_Convert's own for mosaics, sharper than mean and median and with less false
   colour: gradient-corrected linear interpolation. Where a colour is missing, its neighbours' mean
   is corrected by how the pixel's own colour differs from its like two places away, by the
   coefficients of Malvar, He and Cutler (2004); docs/demosaic.md has the formula. Beyond a border,
   the picture is mirrored at its outermost sample. */
#define TRW_METHOD_GRADIENT 0x1009u

/* What TRW_Convert does differently from what the buffers say; all zero for nothing. */
typedef struct TRW_Settings {
    uint32_t size;   /* bytes of this record, set by the caller: sizeof(TRW_Settings) */
    uint32_t format; /* what a packing's samples are, as TBL_FORMAT that TRW_Unpack goes to: grey, a
                        mosaic (a letter says its phase) or YUV422. 0: a mosaic if the source's
                        pixel format is one, of any depth, else grey. Of no effect without a
                        packing */
    uint32_t method; /* TBL_BAYER_METHOD_... of a mosaic, or TRW_METHOD_GRADIENT; 0: as the source
                        says */
    uint32_t phase;  /* TBL_BAYER_PHASE_... of a mosaic; 0: as the letter or the source says */
} TRW_Settings;

TRV_EXTERN_C_BEGIN

/* Converts a picture, packed or not, on several threads.

   With a "packing" of 0 it does what TIL_Convert(source, destination) does. With TRW_PACKING_... it
   does what TRW_Unpack and then TIL_Convert do, without a picture in between: a few lines at a time
   are unpacked into memory that stays in the cache. To a format that TRW_Unpack goes to, it
   unpacks.

   Beyond that it demosaics what TIL_Convert does not. Packings and their phase count as above.

   - Mosaics of n bits, 8 to 16, become RGB48 and BGR48, of 10, 12 and 14 bits RGB48_n and BGR48_n
     too, by every method. Values keep their n bits: 10 bits give 0 to 1023, also in RGB48. By the
     methods of TIL_Convert, a value shifted right by n - 8 is the byte that the same mosaic has in
     BGR24.
   - By TRW_METHOD_GRADIENT, mosaics become BGR24, RGB24, BGRX32 and RGBX32 too. Bytes are the upper
     8 of the n bits. Bits of a sample above them are taken for the largest value.
   - BAY10P_A to BAY14P_D, which are packed, become all that BAY10 to BAY14 do. The letter does not
     say the phase.

   Mosaics of less than 2 x 2 pixels write nothing.

   The bytes of the destination are the same on any number of threads, and those of the calls one
   after the other. The picture between these is one whose lines have no padding. With an odd
   width, mean and median look at one sample after a line: that is the first one of the next line,
   and after the last line 0.

   "settings" may be null for none; "settings->size" says how much of the record the caller knows.
   "pool" may be null: the calling thread works alone then, as it does on small pictures and where
   the order of lines counts, because lines of the destination overlap or share memory with the
   source.

     TRV_STATUS_OK             as TIL_Convert says it, for the picture between too
     TRV_STATUS_PARAMETER      what TIL_Convert or TRW_Unpack answers with it, lines whose unpacked
                               samples take 4 GiB or more, or "settings->size" is below 8
     TRV_STATUS_UNSUPPORTED    no such packing, its samples are not what the settings say, they do
                               not become the destination's format, or the settings go on after
                               the record with something that is not 0
     TRV_STATUS_BAYER_SETTING  nothing demosaics by this method and phase to the destination
     TRV_STATUS_MEMORY         no memory for the lines between, of which the pool keeps what a call
                               before took; nothing is written

   With a packing, or from a packed mosaic, source and destination must not overlap. The buffers are
   asked on the calling thread alone; they and the pool must stay until the call returns. */
TRV_API uint32_t TRW_Convert(uint64_t source, uint32_t packing, uint64_t destination,
                             const TRW_Settings* settings, TRW_Pool* pool);

/* ---- Developing ---- */

TRV_EXTERN_C_END

/* Curves from linear values to those of a display. */
#define TRW_CURVE_NONE 0u  /* values stay linear */
#define TRW_CURVE_SRGB 1u  /* that of sRGB, IEC 61966-2-1 */
#define TRW_CURVE_GAMMA 2u /* x to the power of 1 / gamma */

/* A pixel whose sample is not to be believed. */
typedef struct TRW_Defect {
    uint32_t x; /* from the left, below the width */
    uint32_t y; /* from the top, below the height */
} TRW_Defect;

/* What is made of a sensor's samples; all zero changes nothing but the scale. Steps follow each
   other in the order of the fields from "black" on.

   Samples have n bits, sites are the four pixels of a mosaic's 2 x 2 blocks: (0, 0), (1, 0),
   (0, 1), (1, 1). Values are counted from black, 0, to white, 65535. */
typedef struct TRW_DevelopSettings {
    uint32_t size;     /* bytes of this record, set by the caller: sizeof(TRW_DevelopSettings) */
    uint32_t format;   /* as in TRW_Settings */
    uint32_t method;   /* as in TRW_Settings */
    uint32_t phase;    /* as in TRW_Settings */
    uint32_t black[4]; /* of each site what a sample is without light; of grey, the first counts */
    uint32_t white;    /* what a sample is with as much light as it can tell; 0: 2^n - 1 */
    uint32_t curve;    /* TRW_CURVE_... */
    uint64_t dark;     /* 0, or a buffer with a picture taken in the dark: it takes the place of the
                          black level, pixel by pixel */
    uint64_t flat;     /* 0, or a buffer with a picture of an evenly lit area */
    const TRW_Defect* defects; /* in any order, and more than once if need be */
    uint64_t defect_count;     /* how many there are */
    double gains[3];           /* of red, green and blue, of grey the first; three zeros: 1 */
    double matrix[9]; /* row by row, from the sensor's red, green and blue to those of the picture;
                         nine zeros: none. Colour only */
    double gamma;     /* of TRW_CURVE_GAMMA, 0.1 to 10 */
} TRW_DevelopSettings;

/* Settings made ready for pictures of one kind: of one format or packing, phase and size. */
typedef struct TRW_Recipe TRW_Recipe;

TRV_EXTERN_C_BEGIN

/* Makes a recipe for pictures like "source", whose pixels are not looked at.

   "packing" is 0 or TRW_PACKING_...; "source" is a buffer as TRW_Convert takes it: grey of up to 16
   bits, or a mosaic. Dark and flat are pictures of its width and height, in 8-bit or 16-bit samples
   of whichever grey or mosaic format, that count as the source's samples do. All that the settings
   point to is read here and may go afterwards.

   A sample s of the pixel (x, y), no more than 2^n - 1, becomes

     v = max(s - d, 0)           d is dark(x, y), or else black of its site
     w = v f                     f = gain * flat * 65535 / (white - black), as a multiple of
                                 1 / 2^(n + 11); w is rounded and at most 65535
     where (x, y) is a defect, w is the mean of the nearest samples of the same colour that are
     none, to its left, right, above and below, as far as they are equally near, rounded

   with the gain of its colour, and the flat field's factor: the mean of its site, each sample less
   the same d, over its own value there; 1 where that is 0. f is less than 2^(21 - n): without a
   flat field more is refused, with one it is cut. From these words the
   method makes colours, as TRW_Convert does to RGB48; then

     r, g, b = matrix * (r, g, b), entries as multiples of 1 / 2^26, rounded, from 0 to 65535
     r, g, b = 65535 * curve(r / 65535) ..., within 1 of the rounded value

     TRV_STATUS_OK             *recipe is the recipe; TRW_RecipeDestroy ends it
     TRV_STATUS_PARAMETER      a pointer is null, "settings->size" is below 8, width, height, format
                               or address of a buffer is missing, a stride is too small, a line in
                               words of colour or grey would take 4 GiB or more, sizes of
                               dark or flat differ from the source's, a defect lies outside, black
                               is not below white or white above 2^n - 1, a gain is not above 0 or
                               some f is too large without a flat field, an entry of the matrix is
                               no number, absolute values of a row add up to 7.99 or more, the
                               matrix is singular, or gamma is out of range
     TRV_STATUS_UNSUPPORTED    no such packing or curve, the samples are neither grey of up to 16
                               bits nor a mosaic, dark or flat are in no 8-bit or 16-bit samples,
                               there is a matrix or another gain than the first for grey, or the
                               settings go on behind the record with something that is not 0
     TRV_STATUS_BAYER_SETTING  no kernel for method and phase
     TRV_STATUS_MEMORY         no memory

   A call that fails leaves *recipe as it is and sets *why, unless "why" is null, to what is wrong,
   as a sentence without its end; the text lives as long as the library. Any number of threads may
   use a recipe. */
TRV_API uint32_t TRW_RecipeCreate(TRW_Recipe** recipe, uint64_t source, uint32_t packing,
                                  const TRW_DevelopSettings* settings, const char** why);

/* Ends a recipe that nobody uses any more and sets *recipe to null.

     TRV_STATUS_OK         the recipe is gone
     TRV_STATUS_PARAMETER  "recipe" or *recipe is null */
TRV_API uint32_t TRW_RecipeDestroy(TRW_Recipe** recipe);

/* Develops a picture by a recipe, on the threads of a pool, a few lines at a time in one pass.

   "source" is a picture like that of the recipe: its address and stride count. A mosaic becomes
   RGB48 or BGR48, or what TIL_Convert makes of either; grey becomes Mono16, or what TIL_Convert
   makes of that. So 8-bit results are the upper bytes. "pool" may be null. The bytes of the
   destination are the same on any number of threads.

     TRV_STATUS_OK           the destination holds the picture
     TRV_STATUS_PARAMETER    "recipe" is null, width, height, format or address of a buffer is
                             missing, the source is of another size than the recipe's, a stride is
                             too small, or the destination too small
     TRV_STATUS_UNSUPPORTED  the source has another format than the recipe's, or there is no way to
                             the destination's
     TRV_STATUS_MEMORY       no memory for the lines between; nothing is written

   Source and destination must not overlap. */
TRV_API uint32_t TRW_Develop(uint64_t source, uint64_t destination, const TRW_Recipe* recipe,
                             TRW_Pool* pool);

/* ---- Names of other systems ---- */

TRV_EXTERN_C_END

/* Systems that have names for pixels of their own. A name may begin with the system's and a colon:
   "pfnc:RGB16". */
#define TRW_SYSTEM_PFNC 1u   /* pfnc: GenICam's pixel format names and values */
#define TRW_SYSTEM_V4L2 2u   /* v4l2: the four-character codes of Video4Linux */
#define TRW_SYSTEM_GST 3u    /* gst: formats of GStreamer caps */
#define TRW_SYSTEM_ROS 4u    /* ros: encodings of sensor_msgs/Image */
#define TRW_SYSTEM_OPENCV 5u /* opencv: phases in names of conversions, such as BayerBG */
#define TRW_SYSTEM_END 6u    /* one past the last */

/* What a name or a code of another system says of pixels. The texts live as long as the library. */
typedef struct TRW_Reading {
    uint32_t size;           /* bytes of this record, set by the caller: sizeof(TRW_Reading) */
    uint32_t system;         /* TRW_SYSTEM_... whose name it is; 0: of none, or of several */
    uint32_t code;           /* its PFNC value or fourcc; 0 where it has none */
    uint32_t format;         /* TBL_FORMAT of the picture, a mosaic's with the letter of its phase;
                                0: the name says a phase alone, or the pixels are not read */
    uint32_t packing;        /* TRW_PACKING_... that TRW_Unpack takes to get there; 0: none, as
                                TIL_Convert reads the pixels as they are */
    uint32_t phase;          /* TBL_BAYER_PHASE_... of a mosaic, else 0 */
    const char* system_name; /* "pfnc"; null for system 0 */
    const char* name;        /* as the system spells it; null when nothing is called so */
    const char* why;         /* why it is not read, as a sentence without its end; else null */
} TRW_Reading;

TRV_EXTERN_C_BEGIN

/* Reads a name of another system, such as "BayerRG12Packed", "v4l2:pRAA" or "UYVY".

   "name" may begin with the name of a system and a colon; otherwise all are looked at. Capitals
   count only where they tell names apart. "reading->size" says how much of the record the caller
   knows: as many bytes are written.

     TRV_STATUS_OK           *reading says how to read such pixels, or the phase
     TRV_STATUS_UNSUPPORTED  reading->why says why not: nothing is called so, systems disagree, or
                             nothing here reads such pixels; reading->name tells these apart
     TRV_STATUS_PARAMETER    "name" or "reading" is null, or "reading->size" is below 8; nothing is
                             written */
TRV_API uint32_t TRW_FindName(const char* name, TRW_Reading* reading);

/* Reads a number of another system: a PFNC value such as 0x010C002B, or a fourcc of V4L2. Where
   several names have it, the newest.

     TRV_STATUS_OK           *reading says how to read such pixels
     TRV_STATUS_UNSUPPORTED  reading->why says why not; reading->name is null for an unknown code
     TRV_STATUS_PARAMETER    "reading" is null or "reading->size" is below 8; nothing is written */
TRV_API uint32_t TRW_FindCode(uint32_t system, uint32_t code, TRW_Reading* reading);

/* Finds what a system calls pixels.

   "format" is their TBL_FORMAT, and with a "packing" that which they become. "phase" is
   TBL_BAYER_PHASE_... and counts for mosaics whose format has no letter.

     TRV_STATUS_OK           *reading is the name
     TRV_STATUS_UNSUPPORTED  the system has no name for such pixels, or is none; reading->why is set
     TRV_STATUS_PARAMETER    "reading" is null or "reading->size" is below 8; nothing is written */
TRV_API uint32_t TRW_NameOf(uint32_t system, uint32_t format, uint32_t packing, uint32_t phase,
                            TRW_Reading* reading);

/* The names one by one, by "index" from 0, those included that are not read.

     TRV_STATUS_OK           *reading is the name
     TRV_STATUS_UNSUPPORTED  there are no more; nothing is written
     TRV_STATUS_PARAMETER    "reading" is null or "reading->size" is below 8; nothing is written */
TRV_API uint32_t TRW_NameAt(uint32_t index, TRW_Reading* reading);

/* ---- Routes ---- */

TRV_EXTERN_C_END

/* Methods by which TIL_Convert goes straight, as bits; all of them where nothing is demosaiced. */
#define TRW_DIRECT_DUP 1u
#define TRW_DIRECT_AVE 2u
#define TRW_DIRECT_MED 4u

/* How one format becomes another. The texts live as long as the library. */
typedef struct TRW_Route {
    uint32_t size;  /* bytes of this record, set by the caller: sizeof(TRW_Route) */
    uint32_t steps; /* conversions one after the other, 0 to 3; 0: none is needed, or no route */
    uint32_t format[4]; /* TBL_FORMAT that the picture has: first, after each step; then 0 */
    uint32_t direct;    /* TRW_DIRECT_... of the straight conversion; 0: there is none */
    uint32_t reserved;  /* 0 */
    const char* remark; /* what the straight conversion does to the picture when it does not keep
                           it, as the end of "this route ..."; else null */
    const char* why;    /* why there is no route, as a sentence without its end; else null */
} TRW_Route;

TRV_EXTERN_C_BEGIN

/* Plans how a picture of one format becomes one of another by TIL_Convert, at most three times.

   The route is the shortest one on which the picture is kept: no bits are lost before the last
   step, values that grew are not narrowed again, and no step has a remark. Only the low byte of
   "from" and "to" counts, as in TIL_Convert. "method" and "phase" are TBL_BAYER_METHOD_... and
   TBL_BAYER_PHASE_... of a mosaic; 0 stands for any of them. "route->size" says how much of the
   record the caller knows: as many bytes are written.

     TRV_STATUS_OK           *route is filled
     TRV_STATUS_UNSUPPORTED  there is none: route->why is set, and direct and remark are as they are
     TRV_STATUS_PARAMETER    "from" or "to" is no pixel format, "method" or "phase" is none, "route"
                             is null or "route->size" is below 8; nothing is written */
TRV_API uint32_t TRW_PlanRoute(uint32_t from, uint32_t to, uint32_t method, uint32_t phase,
                               TRW_Route* route);

/* ---- Explanations ---- */

/* Bytes that hold every explanation whole, of either call. */
#define TRW_EXPLAIN_BYTES 4096u

/* Says in words what TRW_Unpack(source, packing, destination) would do, and why; for a "packing" of
   0, what TIL_Convert(source, destination) would do. No pixel is looked at and nothing is changed.

   "text" receives the explanation, cut to "size" bytes and always terminated; null or a size of 0
   takes no text. TRW_EXPLAIN_BYTES hold every explanation whole. It is ASCII, lines without a
   newline after the last:

     status 8: the destination is too small
     why: 640 x 480 pixels of BGR24 need 921600 bytes, and 480 lines of 1280 bytes are 614400
     next: give the destination a stride of at least 1920 bytes and 480 lines

   The first line says what happens. After a refusal, also after one that TIL_Convert does not pass
   on, "why:" and "next:" give the reason and what to do about it. After a success follow, where
   there is something to know, lines of "warning:" (memory outside the buffers is touched, nothing
   is written, or the picture is not the one that was asked for) and of "note:" (as it should be,
   but perhaps unexpected). Programs may rely on these five words and on the status, not on the
   wording.

   Returns the status that the explained call would return, from TRV_STATUS_OK to
   TRV_STATUS_UNSUPPORTED; it has no failures of its own. The buffers are asked through
   TBL_BufferParameterGet, so the answer is right too when a program answers that itself. A buffer
   that another thread releases or sets in between may be told of as it was. */
TRV_API uint32_t TRW_Explain(uint64_t source, uint32_t packing, uint64_t destination, char* text,
                             uint64_t size);

/* Says in words what TRW_Convert(source, packing, destination, settings, pool) would do, and why,
   as TRW_Explain says it of the other calls. After a success, notes say by which steps, how many
   lines at a time are unpacked, and how many threads share how many bands of lines:

     status 0: 12p becomes BGR24 by way of BAY12, 1920 x 1080 pixels, by ave in phase A (RGGB)
     note: 68 lines at a time are unpacked, 261120 bytes, and become the picture from there
     note: 2 threads share 16 bands of 68 lines

   Returns the status that TRW_Convert would return where there is memory for the lines between. */
TRV_API uint32_t TRW_ExplainConvert(uint64_t source, uint32_t packing, uint64_t destination,
                                    const TRW_Settings* settings, const TRW_Pool* pool, char* text,
                                    uint64_t size);

TRV_EXTERN_C_END

#endif
