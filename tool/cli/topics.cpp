#include "tool/cli/topics.h"

#include "tool/cli/text.h"

namespace trv::tool {

const std::vector<Topic> topics = {
    {"examples", "Examples",
     R"(  trvil convert -s 1920x1080 -f BAY10 --phase RGGB dump.raw -o picture.png
  trvil convert -s 1920x1080 -f BAY10 --wb grey dump.raw -o picture.tif
  trvil convert -s 1920x1080 -f 12Packed --phase RGGB camera.raw -o picture.png
  trvil convert -s 640x480 -f BAY8 --scale auto --jobs 4 *.raw -o 'out/{name}.png'
  camera | trvil convert -s 640x480 -f Mono8 - -o - --as png > picture.png
  trvil convert -s 1920x1080 -f BAY10 --wb grey --curve srgb --depth 16 dump.raw -o picture.tif
  trvil convert -s 1920x1080 -f BAY10 --wb grey dump.raw -o picture.dng
  trvil convert -s 1920x1080 -f BAY10 recording.raw -o film.y4m
  trvil calibrate -s 1920x1080 -f BAY10 --dark-frames dark*.raw --flat-frames flat*.raw -o camera/
  trvil convert -s 1920x1080 -f BAY10 --settings camera/settings.json dump.raw -o picture.png
  camera | trvil play -s 1920x1080 -f BAY10 --wb grey -
  trvil play -s 1920x1080 -f BAY10 --wb grey recording.raw -o page.html
  trvil convert -s 1920x1080 -f BAY10 recording.raw -o 'out/{n}.png' --checksums recording.sums
  trvil verify recording.sums
  trvil guess unknown.raw -o sheet.png
  trvil info -s 1920x1080 -f BAY10 --phase RGGB dump.raw
  trvil phase -s 1920x1080 -f BAY10 dump.raw -o sheet.png
  trvil frame -s 720x288 -f BGR24 --field even field.raw -o frame.png
  trvil bench -s 1920x1080 -f BAY8 -t BGR24
  trvil sample -s 1280x720 -f BAY12 -o chart.raw
  trvil routes Mono12P
  trvil formats --names)"},
    {"formats", "Pixel formats",
     R"(A format says how pixels lie in memory. `trvil formats` lists them all.

  Mono8, Mono16          grey, 8 or 16 bits
  Mono10, Mono12, ...    grey in 16-bit words, of which the lowest 10, 12, ... are used
  Mono10P, Mono12P, ...  the same packed without gaps, lowest bits first
  Mono12MP               two pixels in three bytes, highest bits first
  BAY8, BAY10, ...       mosaics of a colour sensor, stored as grey is; see `trvil help phases`
  BAY10P_A, ...          packed mosaics; the letter is the phase
  BGR24, RGB24, ...      colours in the order in which they lie in memory
  RGB16, BGR30, ...      three colours in one word, the first letter in the highest bits
  YUV422                 luminance, U, luminance, V for each two pixels

10 bits in 16-bit words (BAY10) and packed 10 bits (BAY10P_A) are the usual mix-up: the first takes
2 bytes a pixel, the second 5 bytes for 4 pixels.

Cameras pack samples in more ways (12Packed, RAW10, 12be, UYVY); the same list has them. They are read
like formats, and unpacked: -f 12Packed is grey, with --phase a mosaic. Names of other projects are understood too, with
their prefix (v4l2:RG10) or without; `trvil formats --names` has them.)"},
    {"phases", "Phases of a mosaic",
     R"(A sensor with a mosaic sees one colour per pixel. The phase names the colours of the first two
pixels of the first line, then of the second:

  A RGGB    B GRBG    C GBRG    D BGGR

A wrong phase gives wrong colours, or a fine check pattern. Cutting an odd number of pixels or lines
off changes the phase. `trvil phase` says which two can be right and shows all four; between those two,
which exchange red and blue, only the eye can tell.)"},
    {"methods", "Methods of demosaicing",
     R"(Two of three colours of each pixel are made from its neighbours; -m says how:

  dup  the nearest sample, copied: fast, every value was measured, edges have coloured teeth
  ave  the mean of the nearest two or four: smooth; this is what is taken without -m
  med  the median of the nearest four: as ave, with cleaner edges
  gradient  the mean, corrected by how the pixel's own colour changes: sharper, with less false colour

`trvil routes FROM TO` says which methods exist between two formats.)"},
    {"sizes", "Sizes, strides and headers",
     R"(A raw dump is nothing but samples: its size is not in it. -s WIDTHxHEIGHT gives the pixels.

  bytes = bytes of a line x lines; a line of BAY10 has 2 bytes a pixel, one of BAY10P_A 1.25

Where lines are padded, --stride gives the bytes from the start of a line to the start of the next.
Where something precedes the picture, --skip says how many bytes. A picture that leans has a wrong
width or stride; one that shows vertical stripes a wrong format; one that is shifted sideways and
wraps around a wrong --skip. When the length does not fit, the message says what would fit.

When nothing is known, `trvil guess` proposes sizes and formats, and shows them.)"},
    {"depth", "Dark pictures",
     R"(Pictures have 8 bits a sample, or 16 where grey is kept, and with --depth 16. Deep samples are brought down to 8 by the
depth that the format names: BAY12 by a shift of 4. When the picture is dark or black, the camera used
fewer bits than the format says; when it is torn into bands of wrong brightness, more. `trvil info`
says which bits are in use. --scale auto stretches what is there.

Values are not scaled when they grow: Mono8 200 becomes Mono16 200, which looks black. With --depth 16
they are: v of n bits becomes 65535 v / (2^n - 1), rounded, so that white is white.)"},
    {"develop", "From samples to true colour",
     R"(Any of the options of developing, or --depth 16, develops a mosaic or grey: each sample less what it
is in the dark (--dark, else --black), times its colour's gain (--wb) and the flat field's factor
(--flat), so that --white becomes 65535; defective pixels (--defects) from their neighbours; the
missing colours (-m); the matrix (--ccm); the curve (--curve). Where there is a dark picture and no
--black, the mean of it is the black that white is counted from.

Dark and flat are dumps like the input, or grey pictures in which samples count as the dump's do.
Defects are lines of x y, or a grey picture that is not 0 where they are.

Without --curve values stay linear, which looks dark: --curve srgb is for looking at. The gains of
--wb grey and of --wb point:X,Y are worked out from what is left after black, dark, flat and defects,
and none of them is below 1. The point is the mean of 16 x 16 pixels.

A file of --settings is JSON with any of black, white, dark, flat, defects, wb, ccm, curve and method,
each as its option takes it; names of files start from the folder of the settings. What an option says
goes before. `trvil calibrate` makes such a file, and --save-settings writes what was used.

A .dng holds the samples as they are, with black, white, gains and matrix beside them; raw developers
read it.)"},
    {"batch", "Many dumps",
     R"(`trvil convert` takes many inputs of one size and format. {name} in the output stands for an
input's name without its end; an output that is a folder gets {name}.png, or the kind that --as says.

  trvil convert -s 640x480 -f BAY8 *.raw -o 'out/{name}.png'
  trvil convert -s 640x480 -f BAY8 --jobs 0 *.raw -o out/

--jobs N converts N at a time, 0 as many as there are processors; each needs memory for its picture.
Several threads convert one picture together, --threads N of them, as many as there are processors
without it; the picture is the same for any N. Those of the jobs count among them: 2 jobs on 8
processors have 6 threads that help both, 8 jobs have none.

A dump that fails does not stop the others; the end says which failed, and the exit code why the
first of them did. An output appears whole or not at all, also when
the run is interrupted, and replaces nothing without --force.)"},
    {"streams", "Recordings and live pipes",
     R"(Frames of one size that follow one another, in a file, in several or on stdin, are a recording.
`trvil convert` makes pictures of all of them where the output takes more than one:

  trvil convert -s 1920x1080 -f BAY12 rec.raw -o 'frame-{n}.png'      a file for each, {n} its number
  trvil convert -s 1920x1080 -f BAY12 rec.raw -o stack.tif            a page for each
  trvil convert -s 1920x1080 -f BAY12 rec.raw -o film.y4m --fps 50    video, with size and rate
  camera | trvil convert -s 1920x1080 -f BAY12 - -o - --as rgb24 |
    ffmpeg -f rawvideo -pix_fmt rgb24 -s 1920x1080 -i - film.mkv

rgb24, bgr24, rgb48le, gray and gray16le are raw video, nothing but pixels, by the names that ffmpeg has
for them; 16 bits have white at 65535. A .y4m is 8-bit grey of full range, or 4:4:4 by BT.601 in the
range of video. A .raw holds the pixels of -t. Any other kind of file, a folder and a TIFF on stdout
take the first frame.

--skip bytes precede the first frame of each file, --frame-skip bytes precede every frame.
--frames A:B:STEP takes frames A, A + STEP, ... before B, counted from 0 over all files: 100:200, ::10,
:1000, or 7 alone. {n} is that number, in six digits. With {name} in the output each input is a
recording of its own, else all of them are one.

What --wb grey, --wb point and --scale auto measure, they measure in the first frame that is taken,
and all others get the same: else the film would flicker.

A last frame that breaks off is not written unless --partial says so, and is black then where it is
missing; the exit code is 4 without it, and what is whole is written all the same. So it is when a
signal comes: the frames that were read are finished, the file is whole, and the tool ends by the
signal; a second signal ends it at once. When a reader of stdout ends, the tool ends as quietly.

Reading, converting and writing go on at the same time, and a few frames are in memory, however many
there are. --threads says how many are converted at a time. On a terminal there is a line of progress,
and with --json a line of JSON on stderr several times a second.)"},
    {"json", "Answers for programs",
     R"(info, guess, formats, routes, phase, verify and bench print JSON when asked by --json: one value on
stdout, in ASCII. Notes and failures are text on stderr all the same, and the exit codes are the same.
Members may be added in later versions; those that are there keep their names and meaning.)"},
    {"exit-codes", "Exit codes",
     R"(  0  done
  1  the conversion failed, or nothing could be told
  2  the command line makes no sense
  3  there is no way between the formats
  4  an input is missing, unreadable or too short
  5  an output could not be written)"},
};

const Topic* find_topic(const std::string& name) {
    for (const Topic& topic : topics)
        if (lower(name) == topic.name) return &topic;
    return nullptr;
}

}  // namespace trv::tool
