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
                    f.name, page::family_name(f.family), page::bytes_text(f).c_str(), f.significant,
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

`TBS_Explain` of `trvil/tbl.h` says what of this concerns two given buffers.

- **Values are not scaled when they grow.** Mono8 200 becomes Mono16 200. A 12-bit picture in a 16-bit
  file looks black to a viewer that expects 16 bits.
- **Values are truncated when they shrink**: the word shifted right by its significant bits less 8.
  What lies above the significant bits is cut off afterwards, not clamped.
- **Four different 12-bit packings exist in the world**: little-endian bit streams, big-endian bit
  streams, and two that keep the low nibbles apart in a byte of their own, behind or between the high
  bytes. Two are read here: Mono12P and BAY12P (least significant bits first) and Mono12MP (most
  significant first). A picture read by the wrong one shows vertical stripes.
- **Mono12P to a 4-byte layout takes the low 8 bits** of each pixel, so the picture is noise. Go by way
  of Mono12. Mono10P and Mono14P take the top 8.
- **The pad byte** of 4-byte pixels keeps what was there when the source has three channels, takes the
  alpha of RGBA, takes the grey value from grey, and is copied from BGRX32 to BGRX32.
- **Unpacking writes whole groups**: up to three words (10 and 14 bits) or one (12 bits) behind a width
  that is no multiple of the group. Leave room behind the last line; `TBS_BufferCreate` does. It does
  not look at the packing offset; only the 4-byte routes do.
- **Size checks that ask for less than is written.** From packed sources (all but Mono12MP) of n bits a
  destination needs n / 16 bytes per pixel for 16-bit words and n / 32 for 4-byte pixels; RGB48, RGB48_10
  to 14 and BGR48_10 and 14 to RGB24 need a third of a byte per pixel, RGBA64 and RGBA64_10 to 14 two
  bytes. What is written is still the whole picture, so the caller sees to the room. On the 16-bit grey
  to 4-byte routes a destination that is too small is left alone and the status is 0 all the same.
- **BGR48 and BGR48_12 to 15- and 16-bit words** keep one channel and a flag, not a picture. Go by way of
  BGR24.
- **RGB30 has 10 bits of blue, 12 of green and 10 of red.** To RGB48 it takes green and blue from the
  next pixel, so the last pixel reads the word behind its line.
- **Copies**: Mono8, Mono16 (equal strides and heights) and BGRX32 (equal strides) go as one block,
  padding included; the two grey ones without a size check.
- **In place** works wherever address and stride are the same, no pixel grows and the source is no mosaic.

All deliberate behaviours are listed in [oddities.md](oddities.md).
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
