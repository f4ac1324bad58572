#include "image/file/ifd.h"

#include <initializer_list>

namespace trv::tiff {
namespace {

enum Tag : uint16_t {
    new_subfile_type = 254,
    image_width = 256,
    image_length = 257,
    bits_per_sample = 258,
    compression = 259,
    photometric_interpretation = 262,
    strip_offsets = 273,
    samples_per_pixel = 277,
    rows_per_strip = 278,
    strip_byte_counts = 279,
    x_resolution = 282,
    y_resolution = 283,
    planar_configuration = 284,
    resolution_unit = 296
};

enum Type : uint16_t { type_short = 3, type_long = 4, type_rational = 5 };

// Where a value's offset has to be filled in later; -1 when the position could not be had.
using Place = long;

void put_entry_start(FILE* file, Tag tag, Type type, uint32_t count) {
    put16(file, tag);
    put16(file, type);
    put32(file, count);
}

void put_short(FILE* file, Tag tag, uint32_t value) {
    put_entry_start(file, tag, type_short, 1);
    put16(file, value);
    put16(file, 0);
}

void put_long(FILE* file, Tag tag, uint32_t value) {
    put_entry_start(file, tag, type_long, 1);
    put32(file, value);
}

bool put_offset(FILE* file, Tag tag, Type type, uint32_t count, Place* place) {
    put_entry_start(file, tag, type, count);
    *place = ftell(file);
    if (*place == -1) return false;
    put32(file, 0);
    return true;
}

struct Places {
    Place bits = 0, strip = 0, x = 0, y = 0;
    bool reached = true;  // so far; by every seek
};

// Puts `position` into the place kept for it and goes on `further` bytes after that position.
void fill_offset(FILE* file, Place place, long position, long further, Places* places) {
    if (fseek(file, place, SEEK_SET) != 0) places->reached = false;
    put32(file, static_cast<uint32_t>(position));
    if (fseek(file, position + further, SEEK_SET) != 0) places->reached = false;
}

bool put_resolution(FILE* file, Place place, Places* places) {
    const long position = ftell(file);
    if (position == -1) return false;
    put32(file, 300);
    put32(file, 1);
    fill_offset(file, place, position, 8, places);
    return true;
}

bool put_colour_bits(FILE* file, Places* places) {
    const long position = ftell(file);
    if (position == -1) return false;
    for (int sample = 0; sample < 3; ++sample) put16(file, 8);
    fill_offset(file, places->bits, position, 6, places);
    return true;
}

bool put_bits(FILE* file, const Layout& layout, Places* places) {
    if (layout.colour) return put_offset(file, bits_per_sample, type_short, 3, &places->bits);
    put_short(file, bits_per_sample, layout.bits);
    return true;
}

bool put_entries(FILE* file, const Layout& layout, const Size& size, Places* places) {
    put16(file, layout.colour ? 14 : 13);
    put_long(file, new_subfile_type, 0);
    // Deliberate: sides above 65535 lose their high bits here; RowsPerStrip has the whole height.
    put_short(file, image_width, size.width);
    put_short(file, image_length, size.height);
    if (!put_bits(file, layout, places)) return false;
    put_short(file, compression, 1);
    put_short(file, photometric_interpretation, layout.colour ? 2 : 1);
    if (!put_offset(file, strip_offsets, type_long, 1, &places->strip)) return false;
    put_short(file, samples_per_pixel, layout.colour ? 3 : 1);
    put_long(file, rows_per_strip, size.height);
    put_long(file, strip_byte_counts, size.width * size.height * layout.counted_bytes);
    if (!put_offset(file, x_resolution, type_rational, 1, &places->x)) return false;
    if (!put_offset(file, y_resolution, type_rational, 1, &places->y)) return false;
    if (layout.colour) put_short(file, planar_configuration, 1);
    put_short(file, resolution_unit, 1);
    put32(file, 0);
    return true;
}

}  // namespace

void write_header(FILE* file) {
    put16(file, 0x4D4D);
    put16(file, 42);
    put32(file, 8);
}

Head write_head(FILE* file, const Layout& layout, const Size& size) {
    Places places;
    if (!put_entries(file, layout, size, &places)) return Head::no_position;
    if (layout.colour && !put_colour_bits(file, &places)) return Head::no_position;
    for (const Place place : {places.x, places.y})
        if (!put_resolution(file, place, &places)) return Head::no_position;
    const long pixels = ftell(file);
    if (pixels == -1) return Head::no_position;
    fill_offset(file, places.strip, pixels, 0, &places);
    return places.reached && ferror_unlocked(file) == 0 ? Head::written : Head::lost;
}

}  // namespace trv::tiff
