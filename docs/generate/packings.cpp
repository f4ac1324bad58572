// packings FOLDER: draws every packing into FOLDER and prints docs/raw.md, from the tables of
// packings and of names. A test compares the page and its pictures with what this makes.
#include <cstdio>
#include <string>

#include "docs/generate/bits.h"
#include "docs/generate/drawing.h"
#include "raw/names/names.h"
#include "raw/packing.h"

namespace {

using trv::raw::Packing;
using trv::raw::Target;

char owner(const Packing& p, unsigned k) {
    return p.target == Target::yuv422 ? "yuzv"[k] : static_cast<char>('a' + k);
}

// Bit 0 is the lowest of the first byte in memory; - is a bit that nobody uses.
page::Bit bit_of(const Packing& p, unsigned wanted) {
    for (unsigned k = 0; k < p.samples; ++k)
        for (unsigned bit = 0; bit < p.bits; ++bit) {
            const trv::raw::Place at = trv::raw::place(p, k, bit);
            if (8 * at.byte + at.bit == wanted) return {owner(p, k), bit};
        }
    return {'-', 0};
}

// Bytes in memory order, each from its highest bit to its lowest.
std::string diagram(const Packing& p) {
    std::string text;
    for (unsigned byte = 0; byte < p.bytes; ++byte) {
        if (byte != 0) text += ' ';
        for (unsigned bit = 8; bit-- > 0;) text += bit_of(p, 8 * byte + bit).owner;
    }
    return text;
}

const char* colour(const Packing& p, char owner) {
    return p.target == Target::yuv422 ? page::colour_of_channel(owner)
                                      : page::colour_of_pixel(static_cast<unsigned>(owner - 'a'));
}

void draw(const Packing& p, const std::string& path) {
    const page::Drawing drawing{p.name, diagram(p), p.bytes,
                                [&](unsigned bit) { return bit_of(p, bit); },
                                [&](char owner) { return colour(p, owner); }};
    page::Canvas(drawing, path).draw();
}

bool has_same_bits(const trv::Format& f, const Packing& p) {
    if (!trv::is_packed(f) || page::group_bytes(f) != p.bytes) return false;
    for (unsigned bit = 0; bit < 8u * p.bytes; ++bit) {
        const page::Bit one = page::bit_of(f, bit), other = bit_of(p, bit);
        if (one.owner != other.owner || one.index != other.index) return false;
    }
    return true;
}

// Whether a name's pixels lie so: in the packing, or in a packed format that has the same bits.
bool lies_so(const trv::raw::Name& name, const Packing& p) {
    if (name.packing != 0 || name.format == 0) return name.packing == p.code;
    return has_same_bits(*trv::find_format(name.format), p);
}

// Of mosaics the name of phase A stands for all four.
void print_names(trv::raw::System system, const char* title, const Packing& p) {
    std::string list;
    for (size_t i = 0; i < trv::raw::name_count; ++i) {
        const trv::raw::Name& name = trv::raw::names[i];
        const bool other_phase = name.phase != trv::Phase::none && name.phase != trv::Phase::A;
        if (name.system == system && !other_phase && lies_so(name, p))
            list += std::string(list.empty() ? "" : ", ") + name.name;
    }
    if (!list.empty()) std::printf("%s: %s\n\n", title, list.c_str());
}

std::string targets(const Packing& p) {
    if (p.target == Target::yuv422) return "YUV422";
    return "Mono" + std::to_string(p.bits) + ", BAY" + std::to_string(p.bits);
}

void print_table() {
    std::printf(
        "| Code | Name | Bits | Pixels in bytes | Becomes | Bytes in memory, bit 7 to bit 0 |\n");
    std::printf("|---|---|---|---|---|---|\n");
    for (const Packing& p : trv::raw::packings)
        std::printf("| %u | %s | %u | %u in %u | %s | `%s` |\n", unsigned{p.code}, p.name,
                    unsigned{p.bits}, unsigned{p.group}, unsigned{p.bytes}, targets(p).c_str(),
                    diagram(p).c_str());
}

void print_pictures() {
    std::printf(
        "\n## Bit by bit, and what others call them\n\n"
        "`a9` is the highest bit of the first pixel of a group, `b0` the lowest of the second. Of "
        "mosaics, the\nname of phase RGGB stands for those of all four.\n");
    for (const Packing& p : trv::raw::packings) {
        std::printf("\n### %s\n\n", p.name);
        print_names(trv::raw::System::pfnc, "PFNC", p);
        print_names(trv::raw::System::v4l2, "V4L2", p);
        print_names(trv::raw::System::gst, "GStreamer", p);
        std::printf("![%s: %s](pictures/packings/%s.svg)\n", p.name, diagram(p).c_str(), p.name);
    }
}

const char* const introduction = R"(# Packings of cameras

<!-- Made by docs/generate/packings.cpp from include/trvil/packings.inc. -->

Cameras send more packings than there are [pixel formats](formats.md). `libtrvraw.so.0` turns them into
these formats: `TRW_Unpack` of `trvil/raw.h`, for grey and for mosaics of any phase. It asks for buffers by
`TBL_BufferParameterGet` alone, so it works with buffers of your own too.

```c
#include <stddef.h>
#include <trvil/raw.h>
#include <trvil/tbl.h>

int main(void) {
    static uint8_t packed[480][960]; /* 640 pixels of 12Packed in a line, as a camera sends them */
    uint64_t source = 0, mosaic = 0;
    TBS_BufferWrap(&source, 640, 480, TBL_FORMAT(Mono8), packed, sizeof packed, 960, NULL, NULL);
    TBS_BufferCreate(&mosaic, 640, 480, TBL_FORMAT(BAY12_A));
    uint32_t status = TRW_Unpack(source, TRW_PACKING_12Packed, mosaic);
    TBS_BufferRelease(&mosaic);
    TBS_BufferRelease(&source);
    return (int)status; /* 0: the mosaic holds the picture, ready for TIL_Convert */
}
```

```sh
cc unpack.c -ltrvraw -ltrvblx64 -o unpack
./unpack
```

The source's pixel format is not looked at, as the call says the packing. Mono8 and the stride of the packed
lines make a buffer of any packing: no packing has less than a byte per pixel.

)";

const char* const knowledge = R"(
How to read the last column: a letter says whose bit it is, `a` the first pixel's of a group, `b` the
second's; `y u z v` are the two luminances (y, z) and the chrominance of two pixels; `-` is a bit that
nobody uses. Inside a byte, bits of one sample run from higher to lower. A sample in several bytes has its
highest bits in the last of them for 10p, 12p, 14p, 10ipu3 and 10msble to 14msble, in the first of them
for pmsb and be, and in the byte that it has for itself in all others.

| Names | Sent by |
|---|---|
| 10Packed, 12Packed | GigE Vision, as in Mono12Packed |
| 10p, 12p, 14p | PFNC: USB3 Vision, GigE Vision 2, as in BayerRG12p |
| 10pmsb, 12pmsb, 14pmsb | PFNC: CoaXPress; Camera Link; V4L2's Y10B |
| 10g40, 12g24 | grouped, as in Mono10g40; cameras may add their maker's name |
| RAW10, RAW12, RAW14 | MIPI CSI-2; V4L2's pRAA, pRCC, pREE and their likes |
| 10ipu3 | V4L2's ip3r and its likes |
| 10msble, 12msble, 14msble | grabbers that align samples to the top of a word |
| 10be to 16be, 10msbbe to 14msbbe | big-endian words of network and PGM files |
| UYVY, YVYU, VYUY | 4:2:2 cameras; Y0 U Y1 V is YUV422 itself |

Where the bits lie was taken from the tables of GigE Vision (Packed), PFNC (p, pmsb), MIPI CSI-2 and V4L2's
pages (RAW, ipu3, Y10B), and for 12g24 from a camera maker's drawing of Mono12g24: the low bits of the first
pixel are the lower half of the third byte. For 10g40 no text was found that says it of the fifth byte: its low
bits follow the same rule, the first pixel's lowest, which is also RAW10's.

## What a caller must know

- **Values stay as they are.** 10 bits give 0 to 1023 in Mono10. What lies beside the sample's bits is not
  looked at.
- **Nothing is read that is not needed.** A line may end inside a group; of that group only the bytes with
  bits of its pixels are read, which may lie apart. `line_bytes` of `TRW_PackingInfo` ends at the last one.
- **The packing offset counts.** A line may begin inside a group: the address is that of the group then.
- **Lines begin with whole bytes.** Some GigE Vision cameras let a line of odd width end in the middle of a
  byte and go on there: unpack such a picture as a single line of all its pixels.
- **Not in place.** Source and destination must not overlap.

## Straight to the picture, on several threads

`TRW_Convert` unpacks and converts in one call: each strip of lines is unpacked into memory that stays in the
cache, and becomes the picture from there. A pool of threads, made once, shares the picture out:

```c
#include <stddef.h>
#include <trvil/raw.h>
#include <trvil/tbl.h>

int main(void) {
    static uint8_t packed[480][960]; /* 640 pixels of 12Packed in a line */
    uint64_t source = 0, picture = 0;
    TRW_Pool* pool = NULL;
    if (TRW_PoolCreate(&pool, 0) != 0) return 1; /* 0: as many threads as there are processors */
    TBS_BufferWrap(&source, 640, 480, TBL_FORMAT(BAY8_A), packed, sizeof packed, 960, NULL, NULL);
    TBS_BufferCreate(&picture, 640, 480, TBL_FORMAT(BGR24));
    uint32_t status = TRW_Convert(source, TRW_PACKING_12Packed, picture, NULL, pool);
    TBS_BufferRelease(&picture);
    TBS_BufferRelease(&source);
    TRW_PoolDestroy(&pool);
    return (int)status;
}
```

- **Grey or a mosaic?** A source wrapped as BAY8 is a mosaic, any other is grey; `format` of `TRW_Settings` says it
  outright, such as `TBL_FORMAT(BAY12_B)`. Method and phase come from the settings, then from the source.
- **The same bytes.** They do not depend on the number of threads, and are those of `TRW_Unpack` and `TIL_Convert`
  one after the other, with a picture between them whose lines have no padding. Of odd widths, mean and median look at
  one sample after a line: the first one of the next line, and 0 after the last.
- **Without a packing** (0) it is `TIL_Convert` on several threads.
- **Small pictures** are made by the calling thread alone, and so are those where the order of lines counts: in place,
  or with lines that overlap.
- **One pool for all.** Any number of threads may call with the same pool. Its threads take no signals. A child made by
  `fork` has none of them and works alone.
- **Memory.** Strips take some 256 KiB per thread, or three lines where these are longer. A pool keeps them for its
  next call, until it ends.

Unpacking is as fast as a memory copy of as many bytes, or nearly; `build/bin/bench_raw` compares them, and a
plain loop, on your machine. `--cold` takes frames from main memory, `--level v3` an older processor's loops.
`build/bin/bench_raw_convert` shows what a second thread gains, beside two copies, and what one pass gains over two;
`trvil bench -f 12p --phase RGGB -t BGR24` measures any one of them. OpenCV unpacks none of these packings; of libyuv's
operations UYVY and 16be are one, as fast as these. On an AMD EPYC with AVX-512, parts of a copy's speed:

| | 1920x1080, AVX-512 (v4) | 1920x1080, AVX2 (v3) | 4096x3072, from main memory |
|---|---|---|---|
| groups of 10 and 12 bits | 0.83 to 0.98 | 0.82 to 0.98 | 1.0 to 1.5 |
| groups of 14 bits | 0.89 to 0.91 | 0.84 to 0.89 | 1.2 to 1.4 |
| 10ipu3 | 0.73 | 0.67 | 1.1 to 1.2 |
| words, 4:2:2 | 0.97 to 1.08 | 0.88 to 1.18 | 1.0 to 1.5 |

Where pictures outgrow the second cache and not the third, memory that is written is read before: for 10 bits 5.25 bytes
a pixel are moved and for the copy 4.9, so 0.93 is all there is. The groups of 10ipu3 fill no vectors, and what is left
of one at the end of each line goes by small steps.

On the same machine, idle, two threads make pictures of 1920x1080 from packed mosaics 1.75 to 2.6 times as fast as one,
and from samples in words 0.99 to 1.18 times, where two copies gain 0.91 to 1.0; of 4096x3072 pixels in main memory 1.4
to 1.8. One pass takes 1.01 to 1.17 times less time than two, from main memory 1.17 to 1.26.

16-bit mosaics become 16-bit colour 2.7 to 3.8 times as fast as by OpenCV's bilinear conversion, and by `gradient` 1.8 to
3.3 times as fast as by its edge-aware one, at 30.6 dB where that has 26.3 ([how it was measured](demosaic.md)).
Parts of a copy's speed with AVX-512 (`build/bin/bench_raw_demosaic`):

| BAY16 to BGR48 | dup | ave | med |
|---|---|---|---|
| 1920x1080 | 0.73 | 0.56 | 0.61 |
| 4096x3072, from main memory | 1.14 | 0.85 | 0.93 |
| 640x480, in the second cache | 0.74 | 0.45 | 0.46 |

More is not in it for `ave`: 32 pixels take 26 vector operations of 64 bytes, of which the core begins two in a cycle, so
13 cycles at least, where the copy of as many bytes takes 10 from the second cache; it takes 22, because samples beside
each other are loaded across cache lines. At 1920x1080 the third cache moves 448 bytes for them, and 384 for the copy,
which is 0.86 before the first operation.

Threads of a pool stay awake for 50 us after their work, where each has a processor: pictures that follow one another
closely find them ready within 1 us. Measured on a virtual machine with two processors of an AMD EPYC: after 200 us of
rest a thread takes 40 us to wake, after 5 ms some 90 us, which is longer than a small picture takes. Two busy threads
that touch no memory gain 1.9 to 2.0 there, so the processors are not halves of one core. What swings is memory: 8 MiB
are read at some 88 GB/s, but 32 MiB, which the last cache should hold, at 15 to 24 GB/s; pictures of 1920x1080 with
what they are made of lie between, and their times double and halve from run to run. Where other programs keep both
processors busy, a second thread gains nothing, and neither does a second copy: 0.95 to 1.0 times.

## Developing

`TRW_Develop` makes of a sensor's samples a picture that looks right: black level or dark picture, flat field, defects,
gains, demosaicing, 3 x 3 matrix and curve, in that order, in integers whose rounding `trvil/raw.h` states. The settings
are made ready once, as a recipe, for all pictures of one kind:

```c
#include <stdio.h>
#include <string.h>
#include <trvil/raw.h>
#include <trvil/tbl.h>

int main(void) {
    static uint16_t samples[480][640]; /* 12 bits, RGGB */
    uint64_t source = 0, picture = 0;
    TRW_Recipe* recipe = NULL;
    TRW_DevelopSettings settings;
    const char* why = NULL;
    memset(&settings, 0, sizeof settings);
    settings.size = sizeof settings;
    settings.method = TRW_METHOD_GRADIENT;
    settings.curve = TRW_CURVE_SRGB;
    for (int site = 0; site < 4; ++site) settings.black[site] = 64;
    settings.gains[0] = 1.9;
    settings.gains[1] = 1.0;
    settings.gains[2] = 1.5;
    TBS_BufferWrap(&source, 640, 480, TBL_FORMAT(BAY12_A), samples, sizeof samples, 0, NULL, NULL);
    TBS_BufferCreate(&picture, 640, 480, TBL_FORMAT(RGB48));
    uint32_t status = TRW_RecipeCreate(&recipe, source, 0, &settings, &why);
    if (status == 0)
        status = TRW_Develop(source, picture, recipe, NULL);
    else
        fprintf(stderr, "no recipe: %s\n", why);
    TRW_RecipeDestroy(&recipe);
    TBS_BufferRelease(&picture);
    TBS_BufferRelease(&source);
    return (int)status;
}
```

- **Deep or not.** A mosaic becomes RGB48 or BGR48, grey becomes Mono16, from black, 0, to white, 65535; other formats are
  what `TIL_Convert` makes of these words.
- **A dark picture** is one as it was taken, black level included, and takes its place. A flat field evens out brightness
  site by site, so the colour of its light does not matter.
- **Defects** become the mean of the nearest good samples of the same colour to the left, right, above and below.
- **Matrices in steps of 1/4096** are multiplied in half as many steps as others.

Developing takes longer than conversion alone, which is as fast as memory. At 1920x1080 on one core (AMD EPYC, AVX-512,
`build/bin/bench_develop`), as parts of the time of plain conversion by the same method to the same format:

| | black and gains | matrix too | curve too | dark, flat and 200 defects too |
|---|---|---|---|---|
| 12p to RGB48, med | 1.18 | 1.75 | 2.44 | 2.87 |
| BAY12 to RGB48, gradient | 1.33 | 1.84 | 2.39 | 2.61 |
| BAY12 to RGB48, ave | 1.51 | 2.23 | 3.04 | 3.28 |
| BAY12 to BGR24, ave | 1.73 | 3.03 | 4.53 | 4.84 |

Half of plain conversion's time is no room for all of it: in that time the core makes some ten vector operations for 32
pixels, and a matrix that is right to the last of 16 bits takes 24 multiplications, a curve as many table lookups.
)";

}  // namespace

int main(int count, char** arguments) {
    if (count != 2) return 2;
    for (const Packing& p : trv::raw::packings)
        draw(p, std::string(arguments[1]) + "/" + p.name + ".svg");
    std::printf("%s## The packings\n\n", introduction);
    print_table();
    std::printf("%s", knowledge);
    print_pictures();
    return 0;
}
