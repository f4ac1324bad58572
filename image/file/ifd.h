// The head of a TIFF file: header, image file directory, values kept outside it.
//
//   0    "MM", 42, offset of the directory (8)
//   8    number of entries, the entries of 12 bytes each, 0 for "no further directory"
//        colour only: 8, 8, 8 (bits per sample)
//        300/1, 300/1 (resolution)
//        pixels
//
// Offsets are not known when their entry is written, so a zero holds their place and is overwritten
// once the stream has reached the value.
#pragma once

#include <cstdint>

#include "image/file/byte_writer.h"

namespace trv::tiff {

struct Layout {
    bool colour;
    uint16_t bits;           // per sample
    uint16_t counted_bytes;  // per pixel in StripByteCounts
};

struct Size {
    uint32_t width;
    uint32_t height;
};

enum class Head : uint8_t {
    written,
    lost,        // a write or a seek failed, so bytes are missing or in the wrong place
    no_position  // the stream does not tell its position
};

// Writes what lies between the header and the pixels, and leaves the file, past the stream's
// buffer, at the first pixel.
Head write_head(FILE* file, const Layout& layout, const Size& size);

// Byte order mark, version, place of the directory.
void write_header(FILE* file);

inline void put16(FILE* file, uint32_t value) {
    put_number<put_unlocked, 2, ByteOrder::most_first>(file, value);
}

inline void put32(FILE* file, uint32_t value) {
    put_number<put_unlocked, 4, ByteOrder::most_first>(file, value);
}

}  // namespace trv::tiff
