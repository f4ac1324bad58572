#include "tool/files/tiff_pages.h"

#include <algorithm>

#include "tool/cli/error.h"
#include "tool/files/lines.h"
#include "trvil/raw.h"

namespace trv::tool {
namespace {

constexpr uint32_t lines_of_strip = 64;

void put_head(TIFF* tiff, const Geometry& g) {
    const bool grey = g.format->family == Family::grey;
    TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, g.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, g.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, sample_bytes(*g.format) * 8);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, grey ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, grey ? 1 : 3);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, lines_of_strip);
    TIFFSetField(tiff, TIFFTAG_SOFTWARE, "trvil");
}

// libtiff does not change the bytes of a raw strip, but takes them as its own to change.
bool put_strips(TIFF* tiff, const Geometry& g, const std::vector<uint8_t>& bytes) {
    const size_t line = bytes.size() / g.height;
    for (uint32_t y = 0; y < g.height; y += lines_of_strip) {
        const auto size = static_cast<tmsize_t>(line * std::min(lines_of_strip, g.height - y));
        auto* strip = const_cast<uint8_t*>(&bytes[line * y]);
        if (TIFFWriteRawStrip(tiff, y / lines_of_strip, strip, size) != size) return false;
    }
    return TIFFWriteDirectory(tiff) == 1;
}

}  // namespace

void page_bytes(const Frame& frame, std::vector<uint8_t>* bytes) {
    const Geometry& g = frame.geometry();
    if (g.format->code == Code::BGR24) {
        bytes->resize(g.line() * g.height);
        const auto to = trvil::Buffer::wrap(bytes->data(), bytes->size(), g.width, g.height,
                                            trvil::Format::RGB24);
        if (TRW_Convert(frame.handle(), 0, to.handle(), nullptr, nullptr) == TRV_STATUS_OK) return;
    }
    PictureLines lines(frame);
    bytes->resize(lines.bytes() * g.height);
    for (uint32_t y = 0; y < g.height; ++y)
        std::copy_n(lines.get(y), lines.bytes(), &(*bytes)[lines.bytes() * y]);
}

TiffPages::TiffPages(FILE* file, bool big)
    : file_(file), tiff_(big ? big_tiff_to(file) : tiff_to(file, true)) {
    if (tiff_ == nullptr && std::ferror(file) == 0)
        throw Failure(Exit::output, "cannot begin a TIFF", tiff_complaint(), "");
}

void TiffPages::add(const Geometry& g, const std::vector<uint8_t>& bytes) {
    if (tiff_ != nullptr) put_head(tiff_.get(), g);
    const bool done = tiff_ != nullptr && put_strips(tiff_.get(), g, bytes);
    if (!done && std::ferror(file_) == 0)
        throw Failure(Exit::output, "cannot write a page of a TIFF", tiff_complaint(),
                      "write numbered files instead, with {n} in the name");
}

}  // namespace trv::tool
