// Prints docs/formats.md from the library's own tables. A test compares the page with this output.
#include <cstdio>

#include "docs/generate/bits.h"

namespace {

using page::Format;

void print_formats() {
    std::printf(
        "| Code | Name | Family | Bytes per pixel | Significant bits | Bytes in memory, bit 7 to "
        "bit 0 |\n");
    std::printf("|---|---|---|---|---|---|\n");
    for (const Format& f : trv::formats)
        std::printf("| 0x%02X | %s | %s | %s | %d | `%s` |\n", static_cast<unsigned>(f.code),
                    f.name, trv::family_name(f.family), page::bytes_text(f).c_str(), f.significant,
                    page::diagram(f).c_str());
}

void print_routes() {
    std::printf("| From | To |\n|---|---|\n");
    for (const Format& f : trv::formats) {
        const std::string list = page::destinations(f);
        if (!list.empty()) std::printf("| %s | %s |\n", f.name, list.c_str());
    }
}

const char* const introduction = R"(# Pixel formats and routes

<!-- Made by docs/generate/formats.cpp from include/trvil/formats.inc and image/format/routes.inc. -->

A format code is 0xC0022600 plus the code below. Conversions look at this low byte alone;
`TIL_FieldToFrame` and `TIL_FileWriteTiff` compare the whole code. In C the code of a format is
`TBL_FORMAT(name)`.

How to read the last column: bytes stand in the order of memory, each with its highest bit on the
left. A letter says whose bit it is: `r`, `g`, `b`, `a` a colour or alpha, `m` grey, `s` a mosaic
sample, `a` to `d` the pixels of a packed group, `y u z v` the two luminances (y, z) and the
chrominance of two pixels. `0` is an unused bit, `-` a pad byte. Words are little-endian, so the low
byte comes first. [The layouts](layouts.md) are drawn bit by bit.

)";

const char* const knowledge = R"(
## What a caller must know

`TRW_Explain` of `trvil/raw.h` says what of this concerns two given buffers.

- **Values are not scaled when they grow.** Mono8 200 becomes Mono16 200. A 12-bit picture in a 16-bit
  file looks black to a viewer that expects 16 bits.
- **Values are truncated when they shrink**: the word shifted right by its significant bits less 8.
  What lies above the significant bits is cut off afterwards, not clamped.
- **Four different 12-bit packings exist in the world**: little-endian bit streams, big-endian bit
  streams, and two that keep the low nibbles apart in a byte of their own, after or between the high
  bytes. Two are read here: Mono12P and BAY12P (least significant bits first) and Mono12MP (most
  significant first). A picture read by the wrong one shows vertical stripes.
- **Mono12P to a 4-byte layout takes the low 8 bits** of each pixel, so the picture is noise. Go by way
  of Mono12. Mono10P and Mono14P take the top 8.
- **The pad byte** of 4-byte pixels keeps what was there when the source has three channels, takes the
  alpha of RGBA, takes the grey value from grey, and is copied from BGRX32 to BGRX32.
- **Unpacking writes whole groups**: up to three words (10 and 14 bits) or one (12 bits) after a width
  that is no multiple of the group. Leave room after the last line; `TBS_BufferCreate` does. It does
  not look at the packing offset; only the 4-byte routes do.
- **Size checks count bytes, not lines**: stride times height of the destination against the bytes of
  the picture. A destination of fewer and longer lines passes, and is overrun.
- **Size checks that ask for less than is written.** From packed sources (all but Mono12MP) of n bits a
  destination needs n / 16 bytes per pixel for 16-bit words and n / 32 for 4-byte pixels; RGB48, RGB48_10
  to 14 and BGR48_10 and 14 to RGB24 need a third of a byte per pixel, RGBA64 and RGBA64_10 to 14 two
  bytes. What is written is still the whole picture, so the caller sees to the room. The 16-bit grey
  to 4-byte routes ask for what they write, but there a destination that is too small is left alone and
  the status is 0 all the same.
- **Odd strides count as one less** for 16-bit mosaics, for RGB16 and BGR16 made of a mosaic, and for the
  source on the way to RGB24 from the six formats just named, from RGBA64 and RGBA64_10 to 14, and from
  16-bit grey to 4-byte pixels.
- **BGR48 and BGR48_12 to 15- and 16-bit words** keep one channel and a flag, not a picture
  ([the formulas](#formulas)). Go by way of BGR24.
- **RGB30 has 10 bits of blue, 12 of green and 10 of red.** To RGB48 it takes green and blue from the
  next pixel, so the last pixel reads the word after its line.
- **Mosaics of odd width** read one sample after each line, where `ave` and `med` make them.
- **Copies**: Mono8, Mono16 (equal strides and heights) and BGRX32 (equal strides) go as one block,
  padding included; the two grey ones without a size check.
- **In place** works wherever address and stride are the same, no pixel grows and the source is no mosaic.

All deliberate behaviours are listed in [oddities.md](oddities.md).

## Formulas

**YUV422.** Four bytes Y0, U, Y1, V are two pixels. With u = U - 128 and v = V - 128, and results limited
to 0 to 255:

| Channel | Value |
|---|---|
| blue | Y + (1815 u >> 10) |
| green | Y - ((352 u + 731 v) >> 10) |
| red | Y + (1436 v >> 10) |

The numbers are the coefficients of ITU-R BT.601 for full-range luminance and chrominance (1.772, 0.344136,
0.714136 and 1.402) times 1024, rounded. Shifts of negative products round down, as all shifts here.

**48 bits to words.** B, G and R are the three 16-bit words of a pixel; a comparison gives 1 or 0. Green does
not contribute.

| From | RGB15 | RGB16 | BGR15 | BGR16 |
|---|---|---|---|---|
| BGR48 | B >> 11 | B >> 11 or (R != 0) | R >> 11 | R >> 11 or (B != 0) |
| BGR48_12 | B >> 7 or (R != 0) << 3 | B >> 7 or (R != 0) << 4 | R >> 7 or (B != 0) << 3 | R >> 7 or (B != 0) << 4 |

**8 bits to words.** r, g and b keep their highest bits: RGB16 is (r & 0xF8) << 8 or (g & 0xFC) << 3 or b >> 3,
RGB15 (r & 0xF8) << 7 or (g & 0xF8) << 2 or b >> 3; BGR16 and BGR15 with red and blue exchanged. Grey is
r = g = b, deeper samples are narrowed to 8 bits first. RGB30 is b or g << 10 or r << 22, unscaled.

**Mosaics**: [demosaic.md](demosaic.md#exactly). **Fields**: [fields.md](fields.md#exactly).
)";

}  // namespace

int main() {
    std::printf("%s## The %zu formats\n\n", introduction, trv::format_count);
    print_formats();
    std::printf(
        "\n## The %u routes\n\nMosaics (BAY8 to BAY16 and their lettered codes) go through a "
        "demosaic kernel chosen by the source's\nmethod and phase parameters; see "
        "[demosaic.md](demosaic.md).\n\n",
        trv::routing::table.pairs);
    print_routes();
    std::printf("%s", knowledge);
    return 0;
}
