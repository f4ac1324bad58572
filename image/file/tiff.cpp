#include "image/file/tiff.h"

#include <stdio.h>

#include "image/direct/row.h"
#include "image/file/ifd.h"
#include "image/file/tiff_pixels.h"
#include "trvil/status.h"

namespace trv::tiff {
namespace {

// Grey and three-byte pixels, of samples whose every bit counts.
bool find_layout(uint32_t code, Layout* layout) {
    const Format* format = find_whole_format(code);
    if (format == nullptr || !has_full_samples(*format)) return false;
    const bool grey = format->family == Family::grey;
    layout->colour = format->family == Family::colour;
    layout->bits = format->significant;
    // Deliberate: of 16 bits half of the bytes that follow. Readers that know these files take the
    // strip by its offset and rows.
    layout->counted_bytes = layout->colour ? 3 : 1;
    return grey ? format->stored <= 16 : layout->colour && format->stored == 24;
}

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
struct ReversePixels {
    direct::Row row;

    void operator()(const uint8_t* from, uint8_t* to, uint32_t count) const {
        row({from, to, 0, count, 0, 0, 0, {.fetch_streams = true}});
    }
};

template <typename Make>
bool put_lines(FILE* file, const Picture& picture, uint32_t step, uint32_t pixel_bytes,
               const Make& make) {
    const uint8_t* line = picture.address;
    Pixels pixels(fileno(file));
    for (uint32_t y = 0; y < picture.height; ++y, line += step)
        if (!pixels.add(line, picture.width, pixel_bytes, make)) return false;
    return pixels.put();
}

bool put_pixels(FILE* file, const direct::Rows& rows, const Layout& layout,
                const Picture& picture) {
    constexpr Route reversed =
        find_route(static_cast<uint32_t>(Code::BGR24), static_cast<uint32_t>(Code::RGB24));
    if (layout.colour)
        return put_lines(file, picture, picture.stride, 3, ReversePixels{rows.row[reversed.row]});
    // 16-bit lines are stepped in whole samples: an odd stride loses its last byte.
    if (layout.bits == 16) return put_lines(file, picture, picture.stride & ~1u, 2, swap_words);
    return put_lines(file, picture, picture.stride, 1, copy_bytes);
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
uint32_t write_picture(FILE* file, const direct::Rows& rows, const Picture& picture) {
    const StreamLock lock(file);
    write_header(file);
    Layout layout{};
    if (!find_layout(picture.format, &layout)) return TRV_STATUS_TIFF_FORMAT;
    const Head head = write_head_or_again(file, layout, {picture.width, picture.height});
    if (head == Head::no_position) return TRV_STATUS_PARAMETER;
    const bool whole = head == Head::written && put_pixels(file, rows, layout, picture);
    return whole ? TRV_STATUS_OK : TRV_STATUS_FILE_CLOSE;
}

}  // namespace

uint32_t write_file(const char* path, const direct::Rows& rows, const Picture& picture) {
    FILE* file = fopen(path, "wb");
    if (file == nullptr) return TRV_STATUS_FILE_OPEN;
    const uint32_t status = write_picture(file, rows, picture);
    if (status == TRV_STATUS_PARAMETER || status == TRV_STATUS_TIFF_FORMAT) return status;
    // Deliberate: a short write has no status of its own here, as it has in raw files. Whatever did
    // not reach the file is told as a close that failed.
    return fclose(file) == 0 ? status : TRV_STATUS_FILE_CLOSE;
}

}  // namespace trv::tiff
