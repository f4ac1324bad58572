#include "image/buffer.h"
#include "image/pixel/format.h"
#include "image/tiff/ifd.h"
#include "trvil/til.h"

namespace trv::tiff {
namespace {

constexpr Layout layouts[] = {
    {TBL_FORMAT(Mono8), false, 8, 1},
    // Deliberate: half of the bytes that follow. Files of this kind have always said so, and
    // readers that know them take the strip by its offset and rows.
    {TBL_FORMAT(Mono16), false, 16, 1},
    {TBL_FORMAT(BGR24), true, 8, 3},
    {TBL_FORMAT(RGB24), true, 8, 3},
};

struct Picture {
    const uint8_t* address;
    Size size;
    uint32_t stride;
};

void put_byte_line(FILE* file, const uint8_t* line, uint32_t width) {
    for (uint32_t x = 0; x < width; ++x) put_unlocked(line[x], file);
}

void put_word_line(FILE* file, const uint8_t* line, uint32_t width) {
    for (uint32_t x = 0; x < width; ++x) {
        uint16_t sample;
        __builtin_memcpy(&sample, line + size_t{2} * x, sizeof sample);
        put16(file, sample);
    }
}

// Deliberate: RGB24 takes this path too, so its red and blue change places in the file.
void put_reversed_line(FILE* file, const uint8_t* line, uint32_t width) {
    for (uint32_t x = 0; x < width; ++x, line += 3) {
        put_unlocked(line[2], file);
        put_unlocked(line[1], file);
        put_unlocked(line[0], file);
    }
}

void put_pixels(FILE* file, const Layout& layout, const Picture& picture) {
    const auto put_line = layout.colour       ? put_reversed_line
                          : layout.bits == 16 ? put_word_line
                                              : put_byte_line;
    // 16-bit lines are stepped in whole samples: an odd stride loses its last byte.
    const uint32_t step = layout.bits == 16 ? picture.stride & ~1u : picture.stride;
    const uint8_t* line = picture.address;
    for (uint32_t y = 0; y < picture.size.height; ++y, line += step)
        put_line(file, line, picture.size.width);
}

// A stream that a failure leaves behind is not closed, deliberately: the callers of this function
// have always been given an open stream there, and closing it would flush what they never saw.
uint32_t write_picture(FILE* file, uint32_t format, const Picture& picture) {
    const StreamLock lock(file);
    write_header(file);
    for (const Layout& layout : layouts) {
        if (layout.format != format) continue;
        if (!write_head(file, layout, picture.size)) return TRV_STATUS_PARAMETER;
        put_pixels(file, layout, picture);
        return TRV_STATUS_OK;
    }
    return TRV_STATUS_TIFF_FORMAT;
}

}  // namespace
}  // namespace trv::tiff

uint32_t TIL_FileWriteTiff(uint64_t buffer, const char* path) {
    const trv::Buffer source(buffer);
    if (!source.present()) return TRV_STATUS_PARAMETER;
    const uint32_t format = source.format();
    if (format == 0) return TRV_STATUS_PARAMETER;
    trv::tiff::Picture picture;
    picture.address = source.address();
    picture.size.height = source.height();
    picture.size.width = source.width();
    picture.stride = source.stride();
    FILE* file = fopen(path, "wb");
    if (file == nullptr) return TRV_STATUS_FILE_OPEN;
    const uint32_t status = trv::tiff::write_picture(file, format, picture);
    if (status != TRV_STATUS_OK) return status;
    return fclose(file) == 0 ? TRV_STATUS_OK : TRV_STATUS_FILE_CLOSE;
}
