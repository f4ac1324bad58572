#include "tool/cli/catalogue.h"

#include <algorithm>

#include "tool/cli/alias.h"
#include "tool/cli/error.h"
#include "tool/cli/text.h"

namespace trv::tool {
namespace {

struct NamedPhase {
    const char* letter;
    const char* colours;
};
constexpr NamedPhase phases[] = {{"A", "RGGB"}, {"B", "GRBG"}, {"C", "GBRG"}, {"D", "BGGR"}};

struct NamedMethod {
    const char* name;
    uint32_t value;
};
constexpr NamedMethod methods[] = {{"dup", TBL_BAYER_METHOD_DUP},
                                   {"ave", TBL_BAYER_METHOD_AVE},
                                   {"med", TBL_BAYER_METHOD_MED},
                                   {"gradient", TRW_METHOD_GRADIENT}};

std::vector<std::string> all_pixel_names() {
    std::vector<std::string> names;
    for (const Format& format : formats) names.emplace_back(format.name);
    for (const Pixels& pixels : packings()) names.push_back(packing_name(pixels.packing));
    return names;
}

// The letterless mosaic that stores samples as `grey` does, or null.
const Format* mosaic_like(const Format& grey) {
    for (const Format& format : formats)
        if (format.family == Family::bayer && format.phase == Phase::none &&
            format.stored == grey.stored && format.significant == grey.significant)
            return grey.family == Family::grey ? &format : nullptr;
    return nullptr;
}

}  // namespace

TRW_PackingInfo packing_info(uint32_t packing, uint32_t width) {
    TRW_PackingInfo info{};
    info.size = sizeof info;
    TRW_PackingInfoGet(packing, 0, width, &info);
    return info;
}

std::string packing_name(uint32_t packing) {
    return packing_info(packing, 0).name;
}

Pixels as_mosaic(const Pixels& pixels) {
    return pixels.mosaic == nullptr ? pixels : Pixels{pixels.mosaic, pixels.packing};
}

std::vector<Pixels> packings() {
    std::vector<Pixels> all;
    for (uint32_t packing = 1; packing < TRW_PACKING_END; ++packing) {
        const Format& format = *find_whole_format(packing_info(packing, 0).format);
        all.push_back({&format, packing, mosaic_like(format)});
    }
    return all;
}

std::string becomes(const Pixels& pixels) {
    const std::string grey = pixels.format->name;
    return pixels.mosaic == nullptr ? grey : text(grey, " or ", pixels.mosaic->name);
}

std::string description(const Pixels& pixels) {
    if (pixels.packing == 0) return pixels.format->name;
    return text(pixels.format->name, " from ", packing_name(pixels.packing));
}

Pixels pixels_named(const std::string& name) {
    for (const Format& format : formats)
        if (lower(format.name) == lower(name)) return {&format};
    for (const Pixels& pixels : packings())
        if (lower(packing_name(pixels.packing)) == lower(name)) return pixels;
    if (const auto pixels = find_alias(name)) return *pixels;
    throw Failure(Exit::usage, text("unknown format \"", name, "\""),
                  text("the nearest names are ", list(nearest(name, all_pixel_names(), 4))),
                  "`trvil formats` lists them all, `trvil formats --names` what others call them");
}

const Format& format_named(const std::string& name) {
    const Pixels pixels = pixels_named(name);
    if (pixels.packing == 0) return *pixels.format;
    throw Failure(Exit::usage, text(name, " is read and not written"),
                  text("pixels are unpacked from ", packing_name(pixels.packing), ", never packed"),
                  text("use ", becomes(pixels), ", which they become"));
}

Phase phase_named(const std::string& name) {
    for (size_t i = 0; i < std::size(phases); ++i)
        if (lower(name) == lower(phases[i].letter) || lower(name) == lower(phases[i].colours))
            return static_cast<Phase>(i);
    if (const auto phase = find_phase_alias(name)) return *phase;
    throw Failure(Exit::usage, text("unknown phase \"", name, "\""),
                  "a phase names the colours of the first two pixels of the first two lines",
                  "use A or RGGB, B or GRBG, C or GBRG, D or BGGR");
}

uint32_t method_named(const std::string& name) {
    for (const NamedMethod& method : methods)
        if (lower(name) == method.name) return method.value;
    throw Failure(Exit::usage, text("unknown method \"", name, "\""), "",
                  "use dup (nearest), ave (mean), med (median) or gradient (gradient-corrected)");
}

const char* phase_name(Phase phase) {
    return phase == Phase::none ? "-" : phases[static_cast<size_t>(phase)].colours;
}

const char* method_name(uint32_t value) {
    for (const NamedMethod& method : methods)
        if (method.value == value) return method.name;
    return "?";
}

std::string names_of(const std::vector<const Format*>& some) {
    std::vector<std::string> names;
    names.reserve(some.size());
    for (const Format* format : some) names.emplace_back(format->name);
    return list(names);
}

const Format* letterless(const Format& format) {
    if (format.phase == Phase::none) return nullptr;
    for (const Format& other : formats)
        if (other.family == format.family && other.phase == Phase::none &&
            other.stored == format.stored && other.significant == format.significant)
            return &other;
    return nullptr;
}

const Format* with_bits(const Format& like, uint32_t bits) {
    const auto same_channels = [&](const Format& format) {
        return std::equal(std::begin(format.fields), std::end(format.fields), like.fields,
                          [](const Field& a, const Field& b) { return a.channel == b.channel; });
    };
    const Format* best = nullptr;
    for (const Format& format : formats) {
        if (!same_channels(format) || format.stored != like.stored || letterless(format) != nullptr)
            continue;
        if (format.significant >= bits && (!best || format.significant < best->significant))
            best = &format;
    }
    return best;
}

}  // namespace trv::tool
