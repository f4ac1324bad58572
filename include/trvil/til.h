/* Image functions of trvil: conversion, Bayer demosaicing, frames from fields, image files.

   Pictures are named by buffer handles (trvil/tbl.h); their geometry, format, memory and Bayer
   settings are asked from the buffer library during the call. No call keeps state, allocates
   memory, takes a lock or starts a thread. Every call returns a status of trvil/status.h and
   nothing else tells of a failure.

   Threads: any call may run on any thread beside any other call, as long as nobody writes memory
   that a running call reads or writes. That includes the pad bytes of 4-byte pixels: calls keep
   their values, but may store a pad byte back as they found it. */
#ifndef TRVIL_TIL_H
#define TRVIL_TIL_H

#include <stdio.h>

#include "trvil/status.h"

TRV_EXTERN_C_BEGIN

/* ---- Conversion ---- */

/* Converts the picture of "source" into the format of "destination".

   Width and height are the source's. The destination must hold them: its stride times its height is
   compared with the bytes that the picture needs (bit-packed sources and a few deep-colour routes
   are compared with less than they need; docs/formats.md lists them, and there the caller sees to
   it). Lines start at the address plus a multiple of the stride; bytes between the end of a line
   and the next one are left alone.

   Raw mosaics are demosaiced by the method and phase that the source's parameters 9 and 10 say; the
   letter in a format name is not looked at. Pictures in place: source and destination may be the
   same memory when address and stride agree, no destination pixel is wider than a source pixel and
   the source is not a mosaic. Any other overlap is excluded.

     TRV_STATUS_OK             the destination holds the picture; also returned, with nothing
                               written, when a Bayer kernel declined the buffers, or when a
                               4-byte destination is too small for 16-bit grey
     TRV_STATUS_PARAMETER      handle, format or address of either buffer is missing, or the
                               destination is too small; nothing is written
     TRV_STATUS_UNSUPPORTED    there is no direct way between these formats; nothing is written
     TRV_STATUS_BAYER_SETTING  no kernel for this method and phase; nothing is written

   Note: 4-byte pixels from three-channel sources keep the byte in their fourth (XBGR32, XRGB32:
   first) place. */
TRV_API uint32_t TIL_Convert(uint64_t source, uint64_t destination);

/* ---- Frames from fields ---- */

/* Interpolation methods of TIL_FieldToFrame. */
#define TIL_FIELD_LINE_DUP 0u /* repeat the field line above */
#define TIL_FIELD_LINE_AVE 1u /* mean of the lines above and below, byte by byte */
#define TIL_FIELD_BILINEAR 2u /* weighted sum of six samples */
#define TIL_FIELD_MEDIAN 3u   /* median of six samples */

/* Makes a frame of twice as many lines from one field of an interlaced picture.

   "source" is the field: height lines of stride bytes each, every byte of them a sample, padding
   too. "destination" receives exactly twice as many lines AT THE STRIDE OF THE SOURCE: give it the
   same stride and format. "field_flag" 0: the field's lines become the frame's odd lines (1, 3,
   ...) and line 0 repeats the first; not 0: they become the even lines and the last line repeats
   the last. "method" is one of TIL_FIELD_... above. Bilinear and median take Mono8, BGR24, RGB24,
   the five 8-bit layouts of 4 bytes and YUV422, and strides of whole pixels, at least two of them;
   the other two take any format.

     TRV_STATUS_OK           the destination holds the frame
     TRV_STATUS_PARAMETER    missing handle, address or (bilinear, median) format, or a destination
                             below two bytes per source pixel; nothing is written
     TRV_STATUS_UNSUPPORTED  no such method, or not for this format; nothing is written

   Notes: the size check counts a byte per pixel, so with wider pixels the caller vouches for 2 x
   height x stride bytes. Means take bytes one by one: 16-bit samples lose the carry between theirs.
   Bilinear darkens a flat area by up to one step (255 becomes 254), and the median of 4-byte pixels
   makes lines three pixels short and goes on from there; both have always been so. Source and
   destination must not overlap. */
TRV_API uint32_t TIL_FieldToFrame(uint64_t source, uint64_t destination, uint32_t method,
                                  uint32_t field_flag);

/* The four methods by themselves, as above; they do not check the destination's handle. */
TRV_API uint32_t TIL_FieldToFrame_LineDup(uint64_t source, uint64_t destination,
                                          uint32_t field_flag);
TRV_API uint32_t TIL_FieldToFrame_LineAve(uint64_t source, uint64_t destination,
                                          uint32_t field_flag);
TRV_API uint32_t TIL_FieldToFrame_Bilinear(uint64_t source, uint64_t destination,
                                           uint32_t field_flag);
TRV_API uint32_t TIL_FieldToFrame_Median(uint64_t source, uint64_t destination,
                                         uint32_t field_flag);

/* Median of the low bytes of six values: the mean of the third and the fourth smallest, rounded
   down. Result 0 to 255. */
TRV_API uint32_t TRV_median6(uint32_t a, uint32_t b, uint32_t c, uint32_t d, uint32_t e,
                             uint32_t f);

/* ---- Files ---- */

/* File types of TIL_FileWrite. */
#define TIL_FILE_RAW 2u  /* the memory image: height times stride bytes, no header */
#define TIL_FILE_TIFF 3u /* TIL_FileWriteTiff */

/* Writes a buffer's picture to a file, replacing what was there.

   "path" is a NUL-terminated file name; "type" is TIL_FILE_RAW or TIL_FILE_TIFF. A raw file holds
   the padding between lines too and tells nothing about geometry or format.

     TRV_STATUS_OK           the file is complete (a raw write returns the buffer library's own
                             answer to the stride query here: 0 from any that knows the handle)
     TRV_STATUS_PARAMETER    missing handle or address; no file is touched
     TRV_STATUS_UNSUPPORTED  no such file type; no file is touched
     TRV_STATUS_FILE_OPEN    the file cannot be opened; errno tells why
     TRV_STATUS_SYSTEM       fewer bytes than the picture has were written, or it has 4 GiB or
                             more; a partial file is left
     TRV_STATUS_FILE_CLOSE   the last bytes could not be written; a partial file is left

   TIFF files return what TIL_FileWriteTiff returns. */
TRV_API uint32_t TIL_FileWrite(uint64_t buffer, const char* path, uint32_t type);

/* Writes a Mono8, Mono16, BGR24 or RGB24 picture as an uncompressed, big-endian baseline TIFF file
   of one strip, without the padding of its lines.

     TRV_STATUS_OK           the file was closed; single writes are not checked, so compare what
                             must not be lost
     TRV_STATUS_PARAMETER    missing handle or format (no file is touched), or a file position
                             cannot be had, as in a pipe; a partial file is left
     TRV_STATUS_FILE_OPEN    the file cannot be opened; errno tells why
     TRV_STATUS_TIFF_FORMAT  another pixel format; the file was created or cut to nothing
     TRV_STATUS_FILE_CLOSE   the last bytes could not be written; a partial file is left

   Notes: after TRV_STATUS_TIFF_FORMAT, and after TRV_STATUS_PARAMETER for a file position, the
   stream stays open for the life of the process. RGB24 pixels are stored with red and blue
   exchanged, Mono16 states half its strip's bytes, and sides above 65535 are cut to 16 bits in
   their tags; all three are what readers of these files have come to expect. */
TRV_API uint32_t TIL_FileWriteTiff(uint64_t buffer, const char* path);

/* Write the low 8, 16 or 32 bits of "value" to an open stream: names ending in m put the most
   significant byte first, names ending in i the least significant. The result is that of the last
   byte's fputc: the byte, or EOF cast to unsigned. Earlier bytes are not checked. The stream is
   locked per byte, as by fputc. */
TRV_API uint32_t TIL_fput_ui8(FILE* stream, uint32_t value);
TRV_API uint32_t TIL_fput_ui16m(FILE* stream, uint32_t value);
TRV_API uint32_t TIL_fput_ui16i(FILE* stream, uint32_t value);
TRV_API uint32_t TIL_fput_ui32m(FILE* stream, uint32_t value);
TRV_API uint32_t TIL_fput_ui32i(FILE* stream, uint32_t value);

/* ---- Demosaic kernels ---- */

/* The demosaic kernels: TIL_<input>_to_<layout>_<method>_<phase>.

     input   BAY8: one byte per pixel; BAYn: one 16-bit word per pixel, "bits" of it
             significant (9 to 16), stride rounded down to an even number
     layout  RGB16, BGR16 (16-bit words), BGR24, BGRX32, RGBX32 (the fourth byte keeps its value)
     method  dup copies the nearest sample, ave takes means, med takes the median of four samples
     phase   A RGGB, B GRBG, C GBRG, D BGGR

   A kernel reads address, stride, width and height of "source" and address and stride of
   "destination", whose size, like the source's, the caller vouches for: at least 2 x 2 pixels,
   otherwise nothing is written. Source and destination must not overlap. Results are truncated,
   never rounded; with samples above 8 bits one shift brings sum and depth down together.

     TRV_STATUS_OK         the destination holds the picture
     TRV_STATUS_PARAMETER  missing source or destination handle, or bits is 8; nothing is written

   Notes: with an odd width, ave and med kernels read one sample behind every line (of the last line
   too) and use it in the last pixel's means; dup kernels read nothing behind a line. From samples
   with bits above "bits", the blue field of RGB16 is not masked and spills into green. */
TRV_API uint32_t TIL_BAY8_to_RGB16_dup_A(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_RGB16_dup_B(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_RGB16_dup_C(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_RGB16_dup_D(uint64_t source, uint64_t destination);

TRV_API uint32_t TIL_BAY8_to_RGB16_ave_A(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_RGB16_ave_B(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_RGB16_ave_C(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_RGB16_ave_D(uint64_t source, uint64_t destination);

TRV_API uint32_t TIL_BAY8_to_RGB16_med_A(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_RGB16_med_B(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_RGB16_med_C(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_RGB16_med_D(uint64_t source, uint64_t destination);

TRV_API uint32_t TIL_BAY8_to_BGR24_dup_A(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_BGR24_dup_B(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_BGR24_dup_C(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_BGR24_dup_D(uint64_t source, uint64_t destination);

TRV_API uint32_t TIL_BAY8_to_BGR24_ave_A(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_BGR24_ave_B(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_BGR24_ave_C(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_BGR24_ave_D(uint64_t source, uint64_t destination);

TRV_API uint32_t TIL_BAY8_to_BGR24_med_A(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_BGR24_med_B(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_BGR24_med_C(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_BGR24_med_D(uint64_t source, uint64_t destination);

TRV_API uint32_t TIL_BAY8_to_BGRX32_dup_A(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_BGRX32_dup_B(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_BGRX32_dup_C(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_BGRX32_dup_D(uint64_t source, uint64_t destination);

TRV_API uint32_t TIL_BAY8_to_BGRX32_ave_A(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_BGRX32_ave_B(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_BGRX32_ave_C(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_BGRX32_ave_D(uint64_t source, uint64_t destination);

TRV_API uint32_t TIL_BAY8_to_BGRX32_med_A(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_BGRX32_med_B(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_BGRX32_med_C(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_BGRX32_med_D(uint64_t source, uint64_t destination);

TRV_API uint32_t TIL_BAY8_to_RGBX32_dup_A(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_RGBX32_dup_B(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_RGBX32_dup_C(uint64_t source, uint64_t destination);
TRV_API uint32_t TIL_BAY8_to_RGBX32_dup_D(uint64_t source, uint64_t destination);

TRV_API uint32_t TIL_BAY8_to_BGR16_dup_A(uint64_t source, uint64_t destination);

TRV_API uint32_t TIL_BAYn_to_RGB16_dup_A(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_RGB16_dup_B(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_RGB16_dup_C(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_RGB16_dup_D(uint64_t source, uint64_t destination, uint32_t bits);

TRV_API uint32_t TIL_BAYn_to_RGB16_ave_A(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_RGB16_ave_B(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_RGB16_ave_C(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_RGB16_ave_D(uint64_t source, uint64_t destination, uint32_t bits);

TRV_API uint32_t TIL_BAYn_to_RGB16_med_A(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_RGB16_med_B(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_RGB16_med_C(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_RGB16_med_D(uint64_t source, uint64_t destination, uint32_t bits);

TRV_API uint32_t TIL_BAYn_to_BGR24_dup_A(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_BGR24_dup_B(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_BGR24_dup_C(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_BGR24_dup_D(uint64_t source, uint64_t destination, uint32_t bits);

TRV_API uint32_t TIL_BAYn_to_BGR24_ave_A(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_BGR24_ave_B(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_BGR24_ave_C(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_BGR24_ave_D(uint64_t source, uint64_t destination, uint32_t bits);

TRV_API uint32_t TIL_BAYn_to_BGR24_med_A(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_BGR24_med_B(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_BGR24_med_C(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_BGR24_med_D(uint64_t source, uint64_t destination, uint32_t bits);

TRV_API uint32_t TIL_BAYn_to_BGRX32_dup_A(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_BGRX32_dup_B(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_BGRX32_dup_C(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_BGRX32_dup_D(uint64_t source, uint64_t destination, uint32_t bits);

TRV_API uint32_t TIL_BAYn_to_BGRX32_ave_A(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_BGRX32_ave_B(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_BGRX32_ave_C(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_BGRX32_ave_D(uint64_t source, uint64_t destination, uint32_t bits);

TRV_API uint32_t TIL_BAYn_to_BGRX32_med_A(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_BGRX32_med_B(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_BGRX32_med_C(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_BGRX32_med_D(uint64_t source, uint64_t destination, uint32_t bits);

TRV_API uint32_t TIL_BAYn_to_RGBX32_dup_A(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_RGBX32_dup_B(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_RGBX32_dup_C(uint64_t source, uint64_t destination, uint32_t bits);
TRV_API uint32_t TIL_BAYn_to_RGBX32_dup_D(uint64_t source, uint64_t destination, uint32_t bits);

TRV_EXTERN_C_END

#endif
