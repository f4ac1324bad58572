#include "tool/files/picture_read.h"

#include <png.h>

#include <algorithm>
#include <cctype>
#include <csetjmp>
#include <cstring>
#include <exception>

#include "tool/cli/error.h"
#include "tool/cli/text.h"
#include "tool/files/input.h"
#include "tool/files/tiff.h"

namespace trv::tool {
namespace {

constexpr uint64_t most_bytes = uint64_t{1} << 32;
constexpr uint32_t longest_side = 1000000;
constexpr size_t longest_head = 4096;  // of a PNM

Failure broken(const Input& input, const std::string& why) {
    return {Exit::input, text("cannot read the picture ", input.name()), why,
            "check that it is whole"};
}

// Beyond these bytes its pixels, a picture may hold notes, colour profiles and the like.
constexpr uint64_t most_beside = uint64_t{16} << 20;

struct Source {
    Input* input;
    uint64_t left = most_beside;
    std::exception_ptr failure{};  // kept until libpng is left

    bool read(uint8_t* to, size_t wanted) noexcept {
        if (wanted > left) {
            left = 0;
            return false;
        }
        left -= wanted;
        try {
            return input->read(to, wanted) == wanted;
        } catch (...) {
            failure = std::current_exception();
            return false;
        }
    }
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
        if (!static_cast<Source*>(png_get_io_ptr(png))->read(to, wanted)) png_error(png, "short");
    }
};

// libpng leaves by longjmp where it fails, so nothing with a destructor is made in these two.
bool read_head(const Reader& reader, Source* source) {
    if (setjmp(png_jmpbuf(reader.png)) != 0) return false;
    png_set_user_limits(reader.png, longest_side, longest_side);
    png_set_read_fn(reader.png, source, Reader::read);
    png_read_info(reader.png, reader.info);
    return true;
}

bool read_rows(const Reader& reader, uint8_t* first, const Geometry& g) {
    if (setjmp(png_jmpbuf(reader.png)) != 0) return false;
    for (int pass = png_set_interlace_handling(reader.png); pass > 0; --pass)
        for (uint32_t y = 0; y < g.height; ++y)
            png_read_row(reader.png, first + uint64_t{g.stride} * y, nullptr);
    png_read_end(reader.png, nullptr);
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

// What a head claims is believed only as far as it can be true.
void check_claim(const Input& input, const Geometry& g) {
    if (g.bytes() > most_bytes)
        throw Failure(Exit::input, text("the picture ", input.name(), " is too large to look at"),
                      text("it says that it has ", g.width, "x", g.height, " pixels, which take ",
                           g.bytes(), " bytes; ", most_bytes, " are the most"),
                      "check that it is whole, or cut a piece out of it");
}

// Deflate makes at most 1032 bytes of one.
bool can_hold(const std::optional<uint64_t>& length, const Reader& reader) {
    constexpr uint64_t most_of_one = 1032;
    const uint64_t lines = png_get_image_height(reader.png, reader.info);
    return !length || png_get_rowbytes(reader.png, reader.info) * lines / most_of_one <= *length;
}

Failure refused(const Input& input, const Source& source) {
    if (source.failure) std::rethrow_exception(source.failure);
    return broken(input, source.left == 0 ? "there is more beside its pixels than there can be"
                                          : "libpng refused it");
}

Geometry geometry_of(const Reader& reader, const Input& input) {
    const Format* format = format_of_channels(png_get_channels(reader.png, reader.info),
                                              png_get_bit_depth(reader.png, reader.info) == 16);
    if (format == nullptr) throw broken(input, "grey with transparency is not understood");
    return tight(*format, png_get_image_width(reader.png, reader.info),
                 png_get_image_height(reader.png, reader.info));
}

bool expand(const Reader& reader) {
    if (setjmp(png_jmpbuf(reader.png)) != 0) return false;
    png_set_expand(reader.png);
    png_set_swap(reader.png);
    png_set_interlace_handling(reader.png);
    png_read_update_info(reader.png, reader.info);
    return true;
}

Frame read_png(Input* input) {
    const auto length = input->remaining();
    Source source{input};
    const Reader reader;
    if (reader.info == nullptr || !read_head(reader, &source)) throw refused(*input, source);
    const bool possible = can_hold(length, reader);
    if (!expand(reader)) throw refused(*input, source);
    const Geometry g = geometry_of(reader, *input);
    check_claim(*input, g);
    if (!possible)
        throw broken(*input, text("it says that it has ", g.width, "x", g.height,
                                  " pixels, and is too short for them"));
    Frame frame(g);
    source.left += 2 * g.bytes();  // compressed they are hardly more than plain
    if (!read_rows(reader, frame.line(0), g)) throw refused(*input, source);
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

Frame read_pnm(Input* input) {
    const std::vector<uint8_t>& start = input->peek(longest_head);
    const std::string head(start.begin(), start.end());
    size_t at = 2;
    const uint64_t width = next_number(head, &at), height = next_number(head, &at);
    const uint64_t most = next_number(head, &at);
    if (width == 0 || height == 0 || width > longest_side || height > longest_side ||
        (most != 255 && most != 65535))
        throw broken(*input, "its header is not understood; the largest sample is 255 or 65535");
    const bool deep = most > 255;
    const Geometry g = tight(*format_of_channels(head[1] == '5' ? 1 : 3, deep),
                             static_cast<uint32_t>(width), static_cast<uint32_t>(height));
    check_claim(*input, g);
    input->skip(at + 1);
    if (const auto rest = input->remaining(); rest && *rest < g.bytes())
        throw broken(*input, "it is too short");
    Frame frame(g);
    if (input->read(frame.line(0), g.bytes()) < g.bytes()) throw broken(*input, "it is too short");
    if (deep)
        for (uint64_t i = 0; i < g.bytes(); i += 2)
            std::swap(frame.line(0)[i], frame.line(0)[i + 1]);
    return frame;
}

// libtiff goes to and fro in a file.
Frame read_whole_tiff(Input* input) {
    constexpr uint64_t block = uint64_t{1} << 20;
    std::vector<uint8_t> bytes;
    while (bytes.size() < most_bytes) {
        const size_t had = bytes.size();
        bytes.resize(had + std::min(block, input->remaining().value_or(block) + 1));
        bytes.resize(had + input->read(&bytes[had], bytes.size() - had));
        if (bytes.size() == had) break;
    }
    return read_tiff(
        bytes, [&](const Geometry& g) { check_claim(*input, g); },
        [&](const std::string& why) { throw broken(*input, why); });
}

bool begins(Input* input, std::string_view words) {
    const std::vector<uint8_t>& start = input->peek(longest_head);
    return start.size() > words.size() &&
           std::memcmp(start.data(), words.data(), words.size()) == 0;
}

}  // namespace

std::optional<Frame> read_picture(const std::string& path) {
    Input input(path);
    if (begins(&input, "\x89PNG\r\n")) return read_png(&input);
    if (begins(&input, "P5") || begins(&input, "P6")) return read_pnm(&input);
    constexpr std::string_view tiffs[] = {{"II*\0", 4}, {"MM\0*", 4}};
    if (begins(&input, tiffs[0]) || begins(&input, tiffs[1])) return read_whole_tiff(&input);
    return std::nullopt;
}

}  // namespace trv::tool
