#include "tool/files/tiff.h"

#include <algorithm>

#include "tool/cli/error.h"
#include "tool/cli/text.h"
#include "tool/files/lines.h"
#include "tool/files/tiff_stream.h"

namespace trv::tool {
namespace {

constexpr uint32_t lines_of_strip = 64;
constexpr uint32_t most_side = 1000000;  // that is read

void put_head(TIFF* tiff, const Geometry& g) {
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, g.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, g.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 16);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 3);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, lines_of_strip);
    TIFFSetField(tiff, TIFFTAG_SOFTWARE, "trvil");
}

bool put_strips(TIFF* tiff, const Frame& frame) {
    PictureLines lines(frame);
    std::vector<uint8_t> strip(lines.bytes() * lines_of_strip);
    const uint32_t height = frame.geometry().height;
    for (uint32_t y = 0; y < height; y += lines_of_strip) {
        const uint32_t count = std::min(lines_of_strip, height - y);
        for (uint32_t i = 0; i < count; ++i)
            std::copy_n(lines.get(y + i), lines.bytes(), &strip[lines.bytes() * i]);
        const auto size = static_cast<tmsize_t>(lines.bytes() * count);
        if (TIFFWriteRawStrip(tiff, y / lines_of_strip, strip.data(), size) != size) return false;
    }
    return TIFFWriteDirectory(tiff) == 1;
}

uint16_t field(TIFF* tiff, uint32_t tag) {
    uint16_t value = 0;
    TIFFGetFieldDefaulted(tiff, tag, &value);
    return value;
}

std::optional<Geometry> geometry_of(TIFF* tiff) {
    uint32_t width = 0, height = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    const uint16_t bits = field(tiff, TIFFTAG_BITSPERSAMPLE);
    const uint16_t samples = field(tiff, TIFFTAG_SAMPLESPERPIXEL);
    const uint16_t meaning = field(tiff, TIFFTAG_PHOTOMETRIC);
    const bool is_grey = samples == 1 && meaning == PHOTOMETRIC_MINISBLACK;
    const bool is_colour = samples == 3 && meaning == PHOTOMETRIC_RGB;
    if (width == 0 || height == 0 || (bits != 8 && bits != 16) || !(is_grey || is_colour) ||
        field(tiff, TIFFTAG_PLANARCONFIG) != PLANARCONFIG_CONTIG || TIFFIsTiled(tiff) != 0 ||
        width > most_side || height > most_side)
        return std::nullopt;
    const Code code = is_grey ? (bits == 8 ? Code::Mono8 : Code::Mono16)
                              : (bits == 8 ? Code::RGB24 : Code::RGB48);
    const Geometry g = tight(format_of(code), width, height);
    return TIFFScanlineSize64(tiff) == g.line() ? std::optional(g) : std::nullopt;
}

}  // namespace

bool is_deep_colour(const Format& format) {
    const auto layout = sample_layout(format, Phase::A);
    return layout && format.family == Family::colour && layout->bits == 16 &&
           layout->per_pixel == 3;
}

Frame read_tiff(const std::vector<uint8_t>& bytes,
                const std::function<void(const Geometry&)>& check,
                const std::function<void(const std::string&)>& refuse) {
    const Tiff tiff = tiff_of(bytes);
    if (tiff == nullptr) refuse(tiff_complaint());
    const std::optional<Geometry> g = geometry_of(tiff.get());
    if (!g) refuse("of TIFFs, grey and RGB of 8 and 16 bits in strips are read, and no mosaics");
    check(*g);
    Frame frame(*g);
    for (uint32_t y = 0; y < g->height; ++y)
        if (TIFFReadScanline(tiff.get(), frame.line(y), y) != 1) refuse(tiff_complaint());
    return frame;
}

void write_tiff(const Frame& frame, FILE* file) {
    const Tiff tiff = tiff_to(file, true);
    if (tiff != nullptr) put_head(tiff.get(), frame.geometry());
    const bool done = tiff != nullptr && put_strips(tiff.get(), frame);
    if (!done && std::ferror(file) == 0)
        throw Failure(Exit::output, "cannot write a TIFF", tiff_complaint(),
                      "try another kind of file, such as .png");
}

}  // namespace trv::tool
