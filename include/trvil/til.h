/* Image functions of trvil: conversion, Bayer demosaicing, frames from fields, image files.

   Pictures are named by buffer handles (trvil/tbl.h); their geometry, format, memory and Bayer
   settings are asked from the buffer library during the call. No call remembers anything for the
   next one or starts a thread. Conversions, kernels and field methods allocate no memory, take no
   lock and make no system call; file calls use the C library's streams, which allocate and lock.
   TRV_median6 and the byte writers return a value, every other call a status of trvil/status.h.

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

   Width and height are the source's. The destination's stride times its height is compared with the
   bytes that the picture needs; its lines are not counted, so give it as many as the source has.
   Bit-packed sources and a few deep-colour routes are compared with less than they need and grey
   copies of one block not at all: docs/formats.md says which; there the caller sees to the room.

   A line starts at the address plus a multiple of the stride. Of each line the bytes of the
   source's width are read or written, and those up to the next line are left alone, with these
   exceptions:

     copies       Mono8 and Mono16 of equal strides and heights, and BGRX32 of equal strides, are
                  one block: the source's height times the stride, padding included, that of the
                  last line too. Other Mono8 copies begin lines the destination's stride plus the
                  source's width less the destination's width apart.
     unpacking    Packed samples to 16-bit words are read and written in whole groups. After a
                  width that is no multiple of 4 (10 and 14 bits) up to three words more are
                  written, from up to 3 (10 bits) or 5 (14 bits) bytes more; after an odd width
                  (12 bits) one word, from one byte.
     packed       Packed samples to 4-byte pixels are read from the pixel of the packing offset on,
                  so they end as many pixels later. Unpacking does not look at the offset.
     RGB30        To RGB48, the 4 bytes after each line are read.
     mosaics      With an odd width, ave and med read one sample after each line.
     odd strides  Count as one less for 16-bit mosaics, for RGB16 and BGR16 made of a mosaic, and
                  for the sources of routes that have a size rule of their own (docs/formats.md).
     pad bytes    Of 4-byte pixels from three-channel sources the fourth byte (XBGR32, XRGB32: the
                  first) keeps its value; it may be stored back as it was found.

   What lies after each line is touched after the last one too: it must be memory of the caller,
   as it is in buffers of TBS_BufferCreate. TRW_Explain says what of this concerns two buffers.

   Raw mosaics are demosaiced by the method and phase that the source's parameters 9 and 10 say; the
   letter in a format name is not looked at. Pictures in place: source and destination may be the
   same memory when address, stride (an even one where odd ones count as one less), width and height
   agree, no destination pixel is wider than a source pixel and the source is not a mosaic. Any
   other overlap is excluded.

   Values are shifted right by their significant bits less 8 where pixels have 8 bits afterwards,
   and are not scaled where they have more; Mono12P to 4-byte pixels keeps the low 8 bits, and RGB30
   to RGB48 takes green and blue from the next pixel: neither is a picture. YUV422 gives two pixels
   of Y0, U, Y1, V. With u and v for U and V less 128, shifts that round down, and results limited
   to 0 to 255:

     blue    Y + (1815 u >> 10)
     green   Y - ((352 u + 731 v) >> 10)
     red     Y + (1436 v >> 10)

   BGR48 and BGR48_12 to 15- and 16-bit words keep one channel and a flag, which is no picture. With
   B and R for the pixel's words (and the two exchanged for BGR15 and BGR16):

     BGR48 to RGB15     B >> 11
     BGR48 to RGB16     B >> 11 | (R != 0)
     BGR48_12 to RGB15  B >> 7 | (R != 0) << 3
     BGR48_12 to RGB16  B >> 7 | (R != 0) << 4

     TRV_STATUS_OK             the destination holds the picture; also returned, with nothing
                               written, when a mosaic is smaller than 2 x 2 pixels or a handle
                               became stale during the call, or when a 4-byte destination is too
                               small for 16-bit grey
     TRV_STATUS_PARAMETER      handle, format or address of either buffer is missing, or the
                               destination is too small; nothing is written
     TRV_STATUS_UNSUPPORTED    there is no direct way between these formats; nothing is written
     TRV_STATUS_BAYER_SETTING  no kernel for this method and phase; nothing is written */
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
   the five 8-bit layouts of 4 bytes and YUV422, and strides of whole pixels, at least two of them
   (YUV422: four); the other two take any format.

   Each byte between two lines is made of u above it and l below it; bilinear and median also take
   u1, u2, l1, l2, the bytes of the same kind to the left and right of these (1 byte away in Mono8,
   3 in BGR24 and RGB24, 4 in 4-byte pixels, in YUV422 2 for luminance and 4 for chrominance). Where
   a line ends on one side, they take the mean of line_ave. All round down:

     line_dup   u
     line_ave   (u + l) >> 1
     bilinear   (105 (u + l) + 75 (u1 + u2 + l1 + l2)) >> 9
     median     TRV_median6(u1, u, u2, l1, l, l2)

     TRV_STATUS_OK           the destination holds the frame
     TRV_STATUS_PARAMETER    missing handle, address or (bilinear, median) format, or a destination
                             below two bytes per source pixel; nothing is written
     TRV_STATUS_UNSUPPORTED  no such method, or not for this format; nothing is written

   Notes: the size check counts a byte per pixel, so with wider pixels the caller vouches for 2 x
   height x stride bytes. Means take bytes one by one: 16-bit samples lose the carry between theirs.
   The weights of bilinear add up to 510 of 512, so a flat area darkens by one step (255 becomes
   254; only 0 stays). The median of 4-byte pixels makes lines three pixels short and goes on from
   there, in the field as in the frame. Both are deliberate. Source and destination must not
   overlap. */
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

     TRV_STATUS_OK           the file is complete, as far as the system has taken it: nothing asks
                             for it to be on the disk
     TRV_STATUS_PARAMETER    missing handle or format (no file is touched), or a file position
                             cannot be had, as in a pipe; a partial file is left
     TRV_STATUS_FILE_OPEN    the file cannot be opened; errno tells why
     TRV_STATUS_TIFF_FORMAT  another pixel format; the file was created or cut to nothing, and
                             gets the 8 bytes of its header when the process ends
     TRV_STATUS_FILE_CLOSE   bytes could not be written; a partial file is left

   Notes: after TRV_STATUS_TIFF_FORMAT, and after TRV_STATUS_PARAMETER for a file position, the
   stream stays open for the life of the process. RGB24 pixels are stored with red and blue
   exchanged, Mono16 states half its strip's bytes, and sides above 65535 are cut to 16 bits in
   their tags; all three are deliberate. */
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
     layout  RGB16, BGR16 (16-bit words, stride rounded down to an even number), BGR24, BGRX32,
             RGBX32 (the fourth byte keeps its value)
     method  dup copies the nearest sample, ave takes means, med takes the median of four samples
     phase   A RGGB, B GRBG, C GBRG, D BGGR

   A kernel reads address, stride, width and height of "source" and address and stride of
   "destination", whose size, like the source's, the caller vouches for: at least 2 x 2 pixels,
   otherwise nothing is written and the status is TRV_STATUS_OK. Source and destination must not
   overlap. Results are truncated, never rounded; with samples above 8 bits one shift brings sum and
   depth down together.

     TRV_STATUS_OK         the destination holds the picture
     TRV_STATUS_PARAMETER  missing source or destination handle, or bits is 8; nothing is written

   Notes: with an odd width, ave and med kernels read one sample after every line (of the last line
   too) and use it in the last pixel's means; dup kernels read nothing after a line. From samples
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
