#include "tool/files/png.h"

#include <png.h>

#include <csetjmp>

#include "tool/cli/error.h"
#include "tool/files/lines.h"

namespace trv::tool {
namespace {

// A camera picture is noise to deflate: higher levels take longer and save a few per cent.
constexpr int compression_level = 3;

struct Writer {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, fail, ignore);
    png_infop info = png == nullptr ? nullptr : png_create_info_struct(png);

    Writer() = default;
    ~Writer() { png_destroy_write_struct(&png, &info); }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    static void fail(png_structp png, png_const_charp) { png_longjmp(png, 1); }
    static void ignore(png_structp, png_const_charp) {}
};

void write_head(const Writer& writer, FILE* file, const Geometry& g, const PictureLines& lines) {
    png_init_io(writer.png, file);
    png_set_compression_level(writer.png, compression_level);
    png_set_IHDR(writer.png, writer.info, g.width, g.height, static_cast<int>(lines.bits()),
                 lines.is_grey() ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(writer.png, writer.info);
}

// libpng leaves by longjmp where it fails, so nothing with a destructor is made below here.
bool write_all(const Writer& writer, FILE* file, const Geometry& g, PictureLines* lines,
               Progress* progress) {
    if (setjmp(png_jmpbuf(writer.png)) != 0) return false;
    write_head(writer, file, g, *lines);
    for (uint32_t y = 0; y < g.height; ++y) {
        png_write_row(writer.png, lines->get(y));
        if (progress != nullptr) progress->part(y, g.height);
    }
    png_write_end(writer.png, writer.info);
    return true;
}

}  // namespace

void write_png(const Frame& frame, FILE* file, Progress* progress) {
    PictureLines lines(frame);
    const Writer writer;
    const bool done =
        writer.info != nullptr && write_all(writer, file, frame.geometry(), &lines, progress);
    if (!done && std::ferror(file) == 0)
        throw Failure(Exit::output, "cannot write a PNG", "libpng refused the picture",
                      "try another kind of file, such as .ppm");
}

}  // namespace trv::tool
