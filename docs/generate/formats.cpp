// Prints docs/formats.md from the library's own tables. A test compares the page with this output.
#include <cstdio>
#include <string>
#include <vector>

#include "image/api/routes.h"
#include "image/pixel/format.h"

namespace {

using trv::Family;
using trv::Format;

// What a bit of a group holds, bit 0 being the lowest of the first byte in memory.
using BitName = char (*)(const Format&, unsigned bit);

char channel_letter(char name) {
    return name == 'X' ? '-' : static_cast<char>(name - 'A' + 'a');
}

// Channels one after another, each in whole bytes: BGR24, XRGB32, RGBA64_12, ...
char channel_bit(const Format& f, unsigned bit) {
    const unsigned channels = f.name[3] == '3' || f.name[3] == '2' || f.name[3] == '4' ? 3 : 4;
    const unsigned width = f.stored / channels;
    return bit % width < f.significant ? channel_letter(f.name[bit / width]) : '0';
}

// Fields of one word, the first letter of the name on top.
char word_bit(const Format& f, unsigned bit) {
    const bool thirty = f.stored == 32;
    const unsigned green = thirty ? 10 : 5;
    const unsigned top = thirty ? 22 : f.significant == 5 ? 10 : 11;
    if (!thirty && f.significant == 5 && bit == 15) return '0';
    return channel_letter(f.name[bit < green ? 2 : bit < top ? 1 : 0]);
}

char yuv_bit(const Format&, unsigned bit) {
    return "yuzv"[bit / 8];
}

char packed_bit(const Format& f, unsigned bit) {
    return static_cast<char>('a' + bit / f.significant);
}

char packed_high_first_bit(const Format&, unsigned bit) {
    const unsigned from_left = bit / 8 * 8 + 7 - bit % 8;
    return static_cast<char>('a' + from_left / 12);
}

char sample_bit(const Format& f, unsigned bit) {
    if (bit >= f.significant) return '0';
    return f.family == Family::bayer ? 's' : 'm';
}

BitName bit_name(const Format& f) {
    if (f.code == trv::Code::Mono12MP) return packed_high_first_bit;
    if (trv::is_packed(f)) return packed_bit;
    switch (f.family) {
        case Family::colour:
            return channel_bit;
        case Family::word:
            return word_bit;
        case Family::yuv:
            return yuv_bit;
        default:
            return sample_bit;
    }
}

// Bytes in memory order, each from its highest bit to its lowest.
std::string diagram(const Format& f) {
    const BitName name = bit_name(f);
    std::string text;
    for (unsigned byte = 0; byte < f.stored * f.group / 8u; ++byte) {
        if (byte != 0) text += ' ';
        for (unsigned bit = 8; bit-- > 0;) text += name(f, 8 * byte + bit);
    }
    return text;
}

const char* family_name(Family family) {
    switch (family) {
        case Family::grey:
            return "grey";
        case Family::colour:
            return "colour";
        case Family::word:
            return "colour word";
        case Family::yuv:
            return "YUV";
        default:
            return "Bayer";
    }
}

std::string bytes_text(const Format& f) {
    if (f.stored % 8 == 0) return std::to_string(f.stored / 8);
    return std::to_string(f.stored / 8) + (f.stored == 10 ? ".25" : f.stored == 12 ? ".5" : ".75");
}

std::string destinations(const Format& from) {
    std::string list;
    for (const Format& to : trv::formats) {
        if (trv::find_way(static_cast<uint8_t>(from.code), static_cast<uint8_t>(to.code)) ==
            trv::Way::none)
            continue;
        list += (list.empty() ? "" : ", ") + std::string(to.name);
    }
    return list;
}

void print_formats() {
    std::printf(
        "| Code | Name | Family | Bytes per pixel | Significant bits | Bytes in memory, bit 7 to "
        "bit 0 |\n");
    std::printf("|---|---|---|---|---|---|\n");
    for (const Format& f : trv::formats)
        std::printf("| 0x%02X | %s | %s | %s | %d | `%s` |\n", static_cast<unsigned>(f.code),
                    f.name, family_name(f.family), bytes_text(f).c_str(), f.significant,
                    diagram(f).c_str());
}

void print_routes() {
    std::printf("| From | To |\n|---|---|\n");
    for (const Format& f : trv::formats) {
        const std::string list = destinations(f);
        if (!list.empty()) std::printf("| %s | %s |\n", f.name, list.c_str());
    }
}

const char* const introduction = R"(# Pixel formats and routes

<!-- Made by docs/generate/formats.cpp from include/trvil/formats.inc and image/api/routes.inc. -->

A format code is 0xC0022600 plus the code below. Conversions look at this low byte alone;
`TIL_FieldToFrame` and `TIL_FileWriteTiff` compare the whole code. In C the code of a format is
`TBL_FORMAT(name)`.

How to read the last column: bytes stand in the order of memory, each with its highest bit on the
left. A letter says whose bit it is: `r`, `g`, `b`, `a` a colour or alpha, `m` grey, `s` a mosaic
sample, `a` to `d` the pixels of a packed group, `y u z v` the two luminances (y, z) and the
chrominance of two pixels. `0` is an unused bit, `-` a pad byte. Words are little-endian, so the low
byte comes first.

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
  alpha of RGBA, and takes the grey value from grey.
- **Unpacking writes whole groups**: up to three words (10 and 14 bits) or one (12 bits) behind a width
  that is no multiple of the group. Leave room behind the last line; `TBS_BufferCreate` does. It does
  not look at the packing offset; only the 4-byte routes do.
- **Size checks that ask for less than is written**: packed sources are measured by their packed size
  (bits x pixels against 16 or 32 bits per destination pixel's worth of bytes), RGB48 and BGR48_10/14
  to RGB24 by a third of a byte per pixel, RGBA64 to 4 bytes by two bytes per pixel. On the 16-bit grey
  to 4-byte routes a destination that is too small is left alone and the status is 0 all the same.
- **BGR48 and BGR48_12 to 15- and 16-bit words** keep one channel and a flag, not a picture. Go by way of
  BGR24.
- **RGB30 has 10 bits of blue, 12 of green and 10 of red.** To RGB48 it takes green and blue from the
  next pixel, so the last pixel reads the word behind its line.
- **Copies**: Mono8, Mono16 (equal strides and heights) and BGRX32 (equal strides) go as one block,
  padding included; the two grey ones without a size check.
- **In place** works wherever address and stride are the same and no pixel grows.

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
