#include "tool/picture/statistics.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "tool/cli/text.h"
#include "tool/picture/sheet.h"

namespace trv::tool {
namespace {

// Where the samples of a plane lie: in which pixels and lines, and in which bits of the pixel.
struct Place {
    std::string name;
    uint32_t offset, bits, depth;
    uint32_t every = 1, first = 0;  // pixels of a line
    uint32_t every_line = 1, first_line = 0;
};

std::string letters(const Format& format) {
    const std::string name(format.name);
    return name.substr(0, name.find_first_of("0123456789"));
}

std::vector<Place> colour_places(const Format& format) {
    std::vector<Place> places;
    const std::string names = letters(format);
    const auto bits = static_cast<uint32_t>(format.stored / names.size());
    for (uint32_t i = 0; i < names.size(); ++i)
        if (names[i] != 'X')
            places.push_back({std::string(1, names[i]), i * bits, bits, format.significant});
    return places;
}

// The first letter of the name is on top; green has the bits that do not divide by three.
std::vector<Place> word_places(const Format& format) {
    const std::string names = letters(format);
    const uint32_t side = format.stored == 32 ? 10 : 5;
    const uint32_t green = format.stored == 32 ? 12 : format.significant;
    return {{std::string(1, names[0]), side + green, side, side},
            {std::string(1, names[1]), side, green, green},
            {std::string(1, names[2]), 0, side, side}};
}

std::vector<Place> mosaic_places(const Format& format, Phase phase) {
    constexpr const char* sites[4][4] = {{"R", "Gr", "Gb", "B"},
                                         {"Gr", "R", "B", "Gb"},
                                         {"Gb", "B", "R", "Gr"},
                                         {"B", "Gb", "Gr", "R"}};
    std::vector<Place> places;
    for (uint32_t i = 0; i < 4; ++i)
        places.push_back({sites[static_cast<size_t>(phase)][i], 0, format.stored,
                          format.significant, 2, i % 2, 2, i / 2});
    return places;
}

std::vector<Place> places_of(const Format& format, std::optional<Phase> phase) {
    switch (format.family) {
        case Family::colour:
            return colour_places(format);
        case Family::word:
            return word_places(format);
        case Family::yuv:
            return {{"Y", 0, 8, 8}, {"U", 8, 8, 8, 2, 0}, {"V", 8, 8, 8, 2, 1}};
        case Family::bayer:
            if (phase) return mosaic_places(format, *phase);
            return {{"mosaic", 0, format.stored, format.significant}};
        default:
            return {{"grey", 0, format.stored, format.significant}};
    }
}

// At most 32 bits from any bit on; a frame has room to read after its last line.
uint32_t read_bits(const uint8_t* line, uint64_t bit, uint32_t bits, bool high_first) {
    uint64_t word = 0;
    std::memcpy(&word, line + bit / 8, sizeof word);
    const auto shift = static_cast<uint32_t>(bit % 8);
    if (high_first)
        word = __builtin_bswap64(word) >> (64 - bits - shift);
    else
        word >>= shift;
    return static_cast<uint32_t>(word & ((uint64_t{1} << bits) - 1));
}

struct Moments {
    double sum = 0, squares = 0;
};

void take(Plane* plane, Moments* moments, uint32_t value) {
    const uint64_t full = plane->full();
    ++plane->count;
    plane->zero += value == 0 ? 1u : 0u;
    plane->saturated += value == full ? 1u : 0u;
    plane->above += value > full ? 1u : 0u;
    plane->least = std::min(plane->least, value);
    plane->most = std::max(plane->most, value);
    plane->ever |= value;
    const uint64_t part = uint64_t{value} * histogram_parts / (full + 1);
    ++plane->histogram[std::min<uint64_t>(part, histogram_parts - 1)];
    moments->sum += value;
    moments->squares += static_cast<double>(value) * value;
}

Plane measure_place(const Frame& frame, const Place& place) {
    const Geometry& g = frame.geometry();
    const bool high_first = g.format->order == BitOrder::most;
    Plane plane;
    plane.name = place.name;
    plane.depth = place.depth;
    plane.histogram.resize(histogram_parts);
    Moments moments;
    for (uint32_t y = place.first_line; y < g.height; y += place.every_line)
        for (uint32_t x = place.first; x < g.width; x += place.every)
            take(&plane, &moments,
                 read_bits(frame.line(y), uint64_t{x} * g.format->stored + place.offset, place.bits,
                           high_first));
    if (plane.count == 0) plane.least = 0;
    const double count = std::max(1.0, static_cast<double>(plane.count));
    plane.mean = moments.sum / count;
    plane.deviation = std::sqrt(std::max(0.0, moments.squares / count - plane.mean * plane.mean));
    return plane;
}

Frame bars(const Plane& plane) {
    constexpr uint32_t height = 160;
    const Frame picture(tight(format_of(Code::BGR24), histogram_parts, height));
    const uint64_t most = *std::max_element(plane.histogram.begin(), plane.histogram.end());
    for (uint32_t x = 0; x < histogram_parts; ++x) {
        const double part = std::log1p(static_cast<double>(plane.histogram[x])) /
                            std::log1p(std::max(1.0, static_cast<double>(most)));
        for (auto y = static_cast<uint32_t>(height * (1 - part)); y < height; ++y)
            std::memset(picture.line(y) + size_t{x} * 3, 220, 3);
    }
    return picture.tightened();
}

}  // namespace

std::vector<Plane> measure(const Frame& frame, std::optional<Phase> phase) {
    std::vector<Plane> planes;
    for (const Place& place : places_of(*frame.geometry().format, phase))
        planes.push_back(measure_place(frame, place));
    return planes;
}

std::string bits_in_use(const Plane& plane) {
    if (plane.ever == 0) return "-";
    return text(std::countr_zero(plane.ever), "-", std::bit_width(plane.ever) - 1);
}

Frame histogram_picture(const std::vector<Plane>& planes) {
    const auto places = static_cast<uint32_t>(planes.size());
    const Frame first = bars(planes.front());
    const Sheet sheet(first.geometry().width, first.geometry().height, places);
    for (uint32_t i = 0; i < places; ++i)
        sheet.put(i, bars(planes[i]), text(planes[i].name, " 0-", planes[i].full()), false);
    return sheet.frame().tightened();
}

}  // namespace trv::tool
