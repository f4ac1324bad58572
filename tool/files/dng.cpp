#include "tool/files/dng.h"

#include <algorithm>

#include "tool/cli/error.h"
#include "tool/cli/text.h"
#include "tool/files/tiff_stream.h"

namespace trv::tool {
namespace {

constexpr uint16_t daylight = 21;  // D65, the white of sRGB

std::array<double, 3> neutral(const DngColours& colours) {
    const double least = *std::min_element(colours.gains.begin(), colours.gains.end());
    std::array<double, 3> result{};
    for (size_t i = 0; i < 3; ++i) result[i] = least / colours.gains[i];
    return result;
}

void put_head(TIFF* tiff, const Geometry& g) {
    TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, 0);
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, g.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, g.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, sample_bytes(*g.format) * 8);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_CFA);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, g.height);
    TIFFSetField(tiff, TIFFTAG_MAKE, "trvil");
    TIFFSetField(tiff, TIFFTAG_MODEL, "trvil");
    TIFFSetField(tiff, TIFFTAG_UNIQUECAMERAMODEL, "trvil");
    TIFFSetField(tiff, TIFFTAG_SOFTWARE, "trvil");
    constexpr uint8_t version[] = {1, 4, 0, 0}, oldest_reader[] = {1, 1, 0, 0};
    TIFFSetField(tiff, TIFFTAG_DNGVERSION, version);
    TIFFSetField(tiff, TIFFTAG_DNGBACKWARDVERSION, oldest_reader);
}

void put_area(TIFF* tiff, const Geometry& g) {
    const uint32_t active[] = {0, 0, g.height, g.width};
    const float origin[] = {0, 0};
    const float size[] = {static_cast<float>(g.width), static_cast<float>(g.height)};
    TIFFSetField(tiff, TIFFTAG_ACTIVEAREA, active);
    TIFFSetField(tiff, TIFFTAG_DEFAULTCROPORIGIN, origin);
    TIFFSetField(tiff, TIFFTAG_DEFAULTCROPSIZE, size);
}

// 0, 1 and 2 are red, green and blue.
void put_mosaic(TIFF* tiff, Phase phase) {
    constexpr uint8_t patterns[4][4] = {{0, 1, 1, 2}, {1, 0, 2, 1}, {1, 2, 0, 1}, {2, 1, 1, 0}};
    constexpr uint16_t blocks[] = {2, 2};
    constexpr uint8_t colours[] = {0, 1, 2};
    constexpr uint16_t rectangular = 1;
    TIFFSetField(tiff, TIFFTAG_CFAREPEATPATTERNDIM, blocks);
    TIFFSetField(tiff, TIFFTAG_CFAPATTERN, 4, patterns[static_cast<size_t>(phase)]);
    TIFFSetField(tiff, TIFFTAG_CFAPLANECOLOR, 3, colours);
    TIFFSetField(tiff, TIFFTAG_CFALAYOUT, rectangular);
}

void put_levels(TIFF* tiff, const DngColours& colours, const Format& format) {
    const auto& black = colours.black;
    const bool is_one =
        std::all_of(black.begin(), black.end(), [&](uint32_t level) { return level == black[0]; });
    const uint16_t side = is_one ? 1 : 2, blocks[] = {side, side};
    const float levels[] = {static_cast<float>(black[0]), static_cast<float>(black[1]),
                            static_cast<float>(black[2]), static_cast<float>(black[3])};
    const uint32_t white = colours.white != 0 ? colours.white : (1u << format.significant) - 1;
    TIFFSetField(tiff, TIFFTAG_BLACKLEVELREPEATDIM, blocks);
    TIFFSetField(tiff, TIFFTAG_BLACKLEVEL, side * side, levels);
    TIFFSetField(tiff, TIFFTAG_WHITELEVEL, 1, &white);
}

void put_colours(TIFF* tiff, const DngColours& colours, const Matrix& matrix) {
    float entries[9], white[3];
    std::copy_n(matrix.begin(), 9, entries);
    std::copy_n(neutral(colours).begin(), 3, white);
    TIFFSetField(tiff, TIFFTAG_CALIBRATIONILLUMINANT1, daylight);
    TIFFSetField(tiff, TIFFTAG_COLORMATRIX1, 9, entries);
    TIFFSetField(tiff, TIFFTAG_ASSHOTNEUTRAL, 3, white);
}

// In one piece: some readers take the strips of a mosaic for one after the other.
bool put_samples(TIFF* tiff, const Frame& mosaic) {
    const Geometry& g = mosaic.geometry();
    const auto size = static_cast<tmsize_t>(g.bytes());
    return TIFFWriteRawStrip(tiff, 0, mosaic.line(0), size) == size &&
           TIFFWriteDirectory(tiff) == 1;
}

}  // namespace

Matrix dng_matrix(const DngColours& colours) {
    const auto inverse = inverted(colours.matrix);
    if (!inverse)
        throw Failure(Exit::usage, "the matrix is singular",
                      "it maps different colours to one, and a DNG has its inverse",
                      "check --ccm, row by row");
    Matrix result = product(*inverse, srgb_from_xyz);
    for (size_t row = 0; row < 3; ++row)
        for (size_t i = 0; i < 3; ++i) result[3 * row + i] *= neutral(colours)[row];
    return result;
}

void write_dng(const Frame& mosaic, const DngColours& colours, FILE* file) {
    const Matrix matrix = dng_matrix(colours);
    const Geometry& g = mosaic.geometry();
    const Tiff tiff = tiff_to(file, false);
    if (tiff != nullptr) {
        put_head(tiff.get(), g);
        put_area(tiff.get(), g);
        put_mosaic(tiff.get(), colours.phase);
        put_levels(tiff.get(), colours, *g.format);
        put_colours(tiff.get(), colours, matrix);
    }
    const bool done = tiff != nullptr && put_samples(tiff.get(), mosaic);
    if (!done && std::ferror(file) == 0)
        throw Failure(Exit::output, "cannot write a DNG", tiff_complaint(), "check -s and -f");
}

}  // namespace trv::tool
