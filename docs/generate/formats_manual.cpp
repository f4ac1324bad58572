// Prints the manual page trvil-formats(5) from the library's own tables.
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

#include "docs/generate/bits.h"

namespace {

using page::Format;

// SOURCE_DATE_EPOCH is how a packager asks for the same bytes on any day.
std::string date() {
    const char* given = std::getenv("SOURCE_DATE_EPOCH");
    const std::time_t now = given != nullptr ? std::atoll(given) : std::time(nullptr);
    const std::tm& day = *std::gmtime(&now);
    char month[20];
    std::strftime(month, sizeof month, "%B", &day);
    return std::string(month) + ' ' + std::to_string(day.tm_mday) + ", " +
           std::to_string(1900 + day.tm_year);
}

const char* const head = R"(.Dt TRVIL-FORMATS 5
.Os
.Sh NAME
.Nm trvil-formats
.Nd pixel formats of trvil and what becomes what
.Sh DESCRIPTION
The code of a format, parameter 7 of a buffer, is 0xC0022600 plus the low byte given below; in C it is
.Li TBL_FORMAT(name) .
Conversions look at the low byte alone.
.Pp
Each format is listed with its family, the bytes that a pixel takes, the bits of a sample that carry
the value, the bytes of one group of pixels in the order of memory, each from its highest bit to its
lowest, and the formats that
.Xr TIL_Convert 3
makes of it.
A letter says whose bit it is:
.Bl -tag -width "y u z v" -compact -offset indent
.It Li r g b a
red, green, blue, alpha
.It Li m
grey
.It Li s
a sample of a mosaic
.It Li a b c d
in packed formats, the first to fourth pixel of a group
.It Li y u z v
the two luminances (y, z) and the chrominance of two pixels
.It Li 0
an unused bit
.It Li -
a pad byte
.El
.Pp
Words are little-endian.
.Ss Formats
)";

const char* const tail = R"(.Ss Values
Values are not scaled when they grow: Mono8 200 becomes Mono16 200.
They are cut off when they shrink: a word is shifted right by its significant bits less 8, and the
low 8 bits are kept.
The formulas of YUV422 and of 48 bits to 15- and 16-bit words stand in
.Xr TIL_Convert 3 .
.Ss Packings
Mono10P, Mono12P, Mono14P and the packed mosaics are streams of bits, the lowest first.
Mono12MP is a stream of bits, the highest first.
A picture that is read by the wrong one shows vertical stripes.
.Ss Sizes
A destination is refused when its stride times its height is less than what the picture needs: its
width times its height, those of the source, times the bytes of a destination's pixel.
Lines are not counted.
Less than the picture needs is asked from packed sources but Mono12MP (of n bits, n / 16 bytes per pixel
for 16-bit words and n / 32 for 4-byte pixels), for RGB48, RGB48_10 to 14, BGR48_10 and BGR48_14 to RGB24
(a third of a byte), and for RGBA64 and RGBA64_10 to 14 (two bytes).
Copies of Mono8 and Mono16 of equal strides and heights are not measured.
From 16-bit grey to 4-byte pixels a refusal is not passed on: the status is 0, and nothing is written.
.Ss Odd strides
They count as one less for 16-bit mosaics, for RGB16 and BGR16 made of a mosaic, and for the source on the
way to RGB24 from 48 bits by the rule above, from RGBA64 and RGBA64_10 to 14, and from 16-bit grey to
4-byte pixels.
.Ss Phases
A mosaic's phase is named by the colours of the first two pixels of its first two lines: A is RGGB,
B GRBG, C GBRG and D BGGR.
The letter at the end of a name says the phase, but conversions take that of parameter 10.
.Sh SEE ALSO
.Xr trvil 1 ,
.Xr tbl 3 ,
.Xr til 3
)";

void print_format(const Format& f) {
    std::printf(".It Sy %s Pq 0x%02X\n", f.name, static_cast<unsigned>(f.code));
    std::printf("%s, %s byte%s per pixel, %d bits\n.br\n", trv::family_name(f.family),
                page::bytes_text(f).c_str(), f.stored == 8 ? "" : "s", f.significant);
    std::printf(".Li %s\n", page::diagram(f).c_str());
    const std::string list = page::destinations(f);
    if (!list.empty()) std::printf(".br\nto %s\n", list.c_str());
}

}  // namespace

int main() {
    std::printf(".Dd %s\n%s.Bl -tag -width indent\n", date().c_str(), head);
    for (const Format& f : trv::formats) print_format(f);
    std::printf(".El\n%s", tail);
    return 0;
}
