#include "image/direct/row.h"
#include "image/dispatch/level.h"
#include "image/file/ifd.h"
#include "image/file/tiff_pixels.h"
#include "image/format/buffer.h"
#include "image/format/format.h"
#include "trvil/til.h"

namespace trv::tiff {
namespace {

constexpr Layout layouts[] = {
    {TBL_FORMAT(Mono8), false, 8, 1},
    // Deliberate: half of the bytes that follow. Readers that know these files take the strip by
    // its offset and rows.
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
    rows.get(direct::Reader::bgr24,
             direct::Writer::rgb24)({from, to, 0, count, 0, 0, 0, {true, false}});
}

bool put_pixels(FILE* file, const Layout& layout, const Picture& picture) {
    const auto make = layout.colour ? reverse_pixels : layout.bits == 16 ? swap_words : copy_bytes;
    const uint32_t pixel_bytes = layout.bits / 8 * (layout.colour ? 3u : 1u);
    // 16-bit lines are stepped in whole samples: an odd stride loses its last byte.
    const uint32_t step = layout.bits == 16 ? picture.stride & ~1u : picture.stride;
    const uint8_t* line = picture.address;
    Pixels pixels(fileno(file));
    for (uint32_t y = 0; y < picture.size.height; ++y, line += step)
        if (!pixels.add(line, picture.size.width, pixel_bytes, make)) return false;
    return pixels.put();
}

// A stream drops what it could not write, so after a failure that may have passed all of the head
// is written again.
Head write_head_or_again(FILE* file, const Layout& layout, const Size& size) {
    const Head head = write_head(file, layout, size);
    if (head != Head::lost) return head;
    clearerr_unlocked(file);
    if (fseek(file, 0, SEEK_SET) != 0) return Head::lost;
    write_header(file);
    return write_head(file, layout, size);
}

// A stream without a position, or of a format that TIFF does not hold, is left open and unflushed,
// deliberately: closing it would flush what the caller is told was not written.
uint32_t write_picture(FILE* file, uint32_t format, const Picture& picture) {
    const StreamLock lock(file);
    write_header(file);
    for (const Layout& layout : layouts) {
        if (layout.format != format) continue;
        const Head head = write_head_or_again(file, layout, picture.size);
        if (head == Head::no_position) return TRV_STATUS_PARAMETER;
        const bool whole = head == Head::written && put_pixels(file, layout, picture);
        return whole ? TRV_STATUS_OK : TRV_STATUS_FILE_CLOSE;
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
    if (status == TRV_STATUS_PARAMETER || status == TRV_STATUS_TIFF_FORMAT) return status;
    // Deliberate: a short write has no status of its own here, as it has in raw files. Whatever did
    // not reach the file is told as a close that failed.
    return fclose(file) == 0 ? status : TRV_STATUS_FILE_CLOSE;
}
