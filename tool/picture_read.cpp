#include "tool/picture_read.h"

#include <png.h>

#include <algorithm>
#include <cctype>
#include <csetjmp>
#include <cstring>

#include "tool/error.h"
#include "tool/input.h"
#include "tool/text.h"

namespace trv::tool {
namespace {

constexpr uint64_t most_bytes = uint64_t{1} << 32;
constexpr uint64_t longest_side = 1000000;

Failure broken(const std::string& path, const std::string& why) {
    return {Exit::input, text("cannot read the picture ", path), why, "check that it is whole"};
}

struct Source {
    const uint8_t* at;
    size_t left;
};

struct Reader {
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, fail, ignore);
    png_infop info = png == nullptr ? nullptr : png_create_info_struct(png);

    Reader() = default;
    ~Reader() { png_destroy_read_struct(&png, &info, nullptr); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    static void fail(png_structp png, png_const_charp) { png_longjmp(png, 1); }
    static void ignore(png_structp, png_const_charp) {}
    static void read(png_structp png, png_bytep to, size_t wanted) {
        auto* source = static_cast<Source*>(png_get_io_ptr(png));
        if (source->left < wanted) png_error(png, "short");
        std::memcpy(to, source->at, wanted);
        source->at += wanted;
        source->left -= wanted;
    }
};

// libpng leaves by longjmp where it fails, so nothing with a destructor is made below here.
bool read_rows(const Reader& reader, Source* source) {
    if (setjmp(png_jmpbuf(reader.png)) != 0) return false;
    png_set_read_fn(reader.png, source, Reader::read);
    png_read_png(reader.png, reader.info, PNG_TRANSFORM_EXPAND | PNG_TRANSFORM_SWAP_ENDIAN,
                 nullptr);
    return true;
}

const Format* format_of_channels(unsigned channels, bool deep) {
    switch (channels) {
        case 1:
            return &format_of(deep ? Code::Mono16 : Code::Mono8);
        case 3:
            return &format_of(deep ? Code::RGB48 : Code::RGB24);
        case 4:
            return &format_of(deep ? Code::RGBA64 : Code::RGBA32);
        default:
            return nullptr;
    }
}

Frame read_png(const std::string& path, const Contents& contents) {
    Source source{contents.bytes.data(), contents.bytes.size()};
    const Reader reader;
    if (reader.info == nullptr || !read_rows(reader, &source))
        throw broken(path, "libpng refused it");
    const Format* format = format_of_channels(png_get_channels(reader.png, reader.info),
                                              png_get_bit_depth(reader.png, reader.info) == 16);
    if (format == nullptr) throw broken(path, "grey with transparency is not understood");
    Frame frame(tight(*format, png_get_image_width(reader.png, reader.info),
                      png_get_image_height(reader.png, reader.info)));
    const png_bytepp rows = png_get_rows(reader.png, reader.info);
    for (uint32_t y = 0; y < frame.geometry().height; ++y)
        std::memcpy(frame.line(y), rows[y], frame.geometry().line());
    return frame;
}

// The next number of a PNM header; comments run from # to the end of their line.
uint64_t next_number(const std::string& bytes, size_t* at) {
    while (*at < bytes.size() &&
           (std::isspace(static_cast<unsigned char>(bytes[*at])) != 0 || bytes[*at] == '#'))
        *at = bytes[*at] == '#' ? std::min(bytes.find('\n', *at), bytes.size()) : *at + 1;
    uint64_t number = 0;
    for (; *at < bytes.size() && bytes[*at] >= '0' && bytes[*at] <= '9' && number <= longest_side;
         ++*at)
        number = number * 10 + static_cast<uint64_t>(bytes[*at] - '0');
    return number;
}

Frame read_pnm(const std::string& path, const Contents& contents) {
    const std::string head(
        contents.bytes.begin(),
        contents.bytes.begin() + static_cast<long>(std::min<size_t>(4096, contents.bytes.size())));
    size_t at = 2;
    const uint64_t width = next_number(head, &at), height = next_number(head, &at);
    const uint64_t most = next_number(head, &at);
    if (width == 0 || height == 0 || width > longest_side || height > longest_side ||
        (most != 255 && most != 65535))
        throw broken(path, "its header is not understood; the largest sample is 255 or 65535");
    const bool deep = most > 255;
    const Geometry g = tight(*format_of_channels(head[1] == '5' ? 1 : 3, deep),
                             static_cast<uint32_t>(width), static_cast<uint32_t>(height));
    if (contents.bytes.size() < ++at + g.bytes()) throw broken(path, "it is too short");
    Frame frame(g);
    std::memcpy(frame.line(0), &contents.bytes[at], g.bytes());
    if (deep)
        for (uint64_t i = 0; i < g.bytes(); i += 2)
            std::swap(frame.line(0)[i], frame.line(0)[i + 1]);
    return frame;
}

bool begins(const Contents& contents, const char* words) {
    const size_t length = std::strlen(words);
    return contents.bytes.size() > length && std::memcmp(contents.bytes.data(), words, length) == 0;
}

}  // namespace

std::optional<Frame> read_picture(const std::string& path) {
    const Contents contents = read_contents(path, most_bytes);
    if (begins(contents, "\x89PNG\r\n")) return read_png(path, contents);
    if (begins(contents, "P5") || begins(contents, "P6")) return read_pnm(path, contents);
    return std::nullopt;
}

}  // namespace trv::tool
