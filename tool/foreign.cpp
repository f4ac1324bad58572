#include "tool/foreign.h"

#include "tool/cli/catalogue.h"
#include "tool/cli/error.h"
#include "tool/cli/text.h"

namespace trv::tool {
namespace {

using enum Code;

struct Name {
    const char* world;
    const char* name;
    Code code;
};

constexpr Name names[] = {
    {"pfnc", "Mono8", Mono8},
    {"pfnc", "Mono10", Mono10},
    {"pfnc", "Mono12", Mono12},
    {"pfnc", "Mono14", Mono14},
    {"pfnc", "Mono16", Mono16},
    {"pfnc", "Mono10p", Mono10P},
    {"pfnc", "Mono12p", Mono12P},
    {"pfnc", "Mono14p", Mono14P},
    {"pfnc", "Mono12pmsb", Mono12MP},
    {"pfnc", "RGB8", RGB24},
    {"pfnc", "BGR8", BGR24},
    {"pfnc", "RGBa8", RGBA32},
    {"pfnc", "BGRa8", BGRX32},  // nothing here reads its alpha
    // Trap: the number is bits per channel. RGB16 and BGR16 of ours are words of 5, 6 and 5 bits.
    {"pfnc", "RGB10", RGB48_10},
    {"pfnc", "RGB12", RGB48_12},
    {"pfnc", "RGB14", RGB48_14},
    {"pfnc", "RGB16", RGB48},
    {"pfnc", "BGR10", BGR48_10},
    {"pfnc", "BGR12", BGR48_12},
    {"pfnc", "BGR14", BGR48_14},
    {"pfnc", "BGR16", BGR48},
    {"pfnc", "RGBa10", RGBA64_10},
    {"pfnc", "RGBa12", RGBA64_12},
    {"pfnc", "RGBa14", RGBA64_14},
    {"pfnc", "RGBa16", RGBA64},
    {"pfnc", "YUV422_8", YUV422},
    {"v4l2", "GREY", Mono8},
    {"v4l2", "Y10", Mono10},
    {"v4l2", "Y12", Mono12},
    {"v4l2", "Y14", Mono14},
    {"v4l2", "Y16", Mono16},
    {"v4l2", "XR15", RGB15},
    {"v4l2", "XB15", BGR15},
    {"v4l2", "RGBP", RGB16},
    {"v4l2", "RGB3", RGB24},
    {"v4l2", "BGR3", BGR24},
    // Trap: these codes spell the word from its highest byte, so XR24 begins with blue in memory.
    {"v4l2", "XR24", BGRX32},
    {"v4l2", "AR24", BGRX32},
    {"v4l2", "XB24", RGBX32},
    {"v4l2", "AB24", RGBA32},
    {"v4l2", "RX24", XBGR32},
    {"v4l2", "BX24", XRGB32},
    {"v4l2", "YUYV", YUV422},
    {"gst", "GRAY8", Mono8},
    {"gst", "GRAY16_LE", Mono16},
    {"gst", "RGB", RGB24},
    {"gst", "BGR", BGR24},
    {"gst", "RGBx", RGBX32},
    {"gst", "BGRx", BGRX32},
    {"gst", "xRGB", XRGB32},
    {"gst", "xBGR", XBGR32},
    {"gst", "RGBA", RGBA32},
    {"gst", "BGRA", BGRX32},
    {"gst", "RGB15", RGB15},
    {"gst", "BGR15", BGR15},
    {"gst", "RGB16", RGB16},
    {"gst", "BGR16", BGR16},
    {"gst", "YUY2", YUV422},
    {"ros", "mono8", Mono8},
    {"ros", "mono16", Mono16},
    {"ros", "rgb8", RGB24},
    {"ros", "bgr8", BGR24},
    {"ros", "rgba8", RGBA32},
    {"ros", "bgra8", BGRX32},
    // The same trap as with RGB16 above.
    {"ros", "rgb16", RGB48},
    {"ros", "bgr16", BGR48},
    {"ros", "rgba16", RGBA64},
    {"ros", "yuv422_yuy2", YUV422},
};

// Mosaics by the first pixels: RGGB, GRBG, GBRG, BGGR, so the name says the phase too.
struct Mosaic {
    const char* world;
    const char* name[4];
    Code first;  // the others follow it
};

constexpr Mosaic mosaics[] = {
    {"pfnc", {"BayerRG8", "BayerGR8", "BayerGB8", "BayerBG8"}, BAY8_A},
    {"pfnc", {"BayerRG10", "BayerGR10", "BayerGB10", "BayerBG10"}, BAY10_A},
    {"pfnc", {"BayerRG12", "BayerGR12", "BayerGB12", "BayerBG12"}, BAY12_A},
    {"pfnc", {"BayerRG14", "BayerGR14", "BayerGB14", "BayerBG14"}, BAY14_A},
    {"pfnc", {"BayerRG16", "BayerGR16", "BayerGB16", "BayerBG16"}, BAY16_A},
    {"pfnc", {"BayerRG10p", "BayerGR10p", "BayerGB10p", "BayerBG10p"}, BAY10P_A},
    {"pfnc", {"BayerRG12p", "BayerGR12p", "BayerGB12p", "BayerBG12p"}, BAY12P_A},
    {"pfnc", {"BayerRG14p", "BayerGR14p", "BayerGB14p", "BayerBG14p"}, BAY14P_A},
    // Trap: BA is BGGR at 8 bits and GRBG at 10 and 12.
    {"v4l2", {"RGGB", "GRBG", "GBRG", "BA81"}, BAY8_A},
    {"v4l2", {"RG10", "BA10", "GB10", "BG10"}, BAY10_A},
    {"v4l2", {"RG12", "BA12", "GB12", "BG12"}, BAY12_A},
    {"v4l2", {"RG14", "GR14", "GB14", "BG14"}, BAY14_A},
    {"v4l2", {"RG16", "GR16", "GB16", "BYR2"}, BAY16_A},
    {"gst", {"rggb", "grbg", "gbrg", "bggr"}, BAY8_A},
    {"gst", {"rggb10le", "grbg10le", "gbrg10le", "bggr10le"}, BAY10_A},
    {"gst", {"rggb12le", "grbg12le", "gbrg12le", "bggr12le"}, BAY12_A},
    {"gst", {"rggb14le", "grbg14le", "gbrg14le", "bggr14le"}, BAY14_A},
    {"gst", {"rggb16le", "grbg16le", "gbrg16le", "bggr16le"}, BAY16_A},
    {"ros", {"bayer_rggb8", "bayer_grbg8", "bayer_gbrg8", "bayer_bggr8"}, BAY8_A},
    {"ros", {"bayer_rggb16", "bayer_grbg16", "bayer_gbrg16", "bayer_bggr16"}, BAY16_A},
};

struct PhaseNames {
    const char* world;
    const char* name[4];
};

constexpr PhaseNames phase_names[] = {
    {"pfnc", {"BayerRG", "BayerGR", "BayerGB", "BayerBG"}},
    // Trap: OpenCV's two letters are the second and third pixel of the second line.
    {"opencv", {"BayerBG", "BayerGB", "BayerGR", "BayerRG"}},
    {"opencv", {"BayerRGGB", "BayerGRBG", "BayerGBRG", "BayerBGGR"}},
};

// Names that look like ours for pixels that are packed in another way.
struct Unreadable {
    const char* world;
    std::vector<const char*> name;
    const char* why;
};

const std::vector<Unreadable>& unreadable_names() {
    static const std::vector<Unreadable> list = {
        {"v4l2",
         {"Y10P", "pRAA", "pgAA", "pGAA", "pBAA", "Y12P", "pRCC", "pgCC", "pGCC", "pBCC", "Y14P",
          "pREE", "pgEE", "pGEE", "pBEE"},
         "it keeps the high bytes of a group first and their low bits behind; the packed formats "
         "here "
         "are streams of bits"},
        {"pfnc",
         {"Mono10Packed", "Mono12Packed", "BayerRG10Packed", "BayerGR10Packed", "BayerGB10Packed",
          "BayerBG10Packed", "BayerRG12Packed", "BayerGR12Packed", "BayerGB12Packed",
          "BayerBG12Packed"},
         "it keeps the low bits of two pixels in a byte between their high bytes; the names that "
         "end "
         "in p are streams of bits and are read here"},
        {"v4l2",
         {"ip3y", "ip3r", "ip3g", "ip3b"},
         "it pads every 25 pixels to 32 bytes; the packed formats here have no padding inside a "
         "line"},
        {"v4l2", {"Y10B"}, "its bits run from the highest to the lowest"},
        {"v4l2",
         {"UYVY"},
         "its chrominance comes before the luminance; YUV422 begins with luminance"},
        {"pfnc", {"YUV422_8_UYVY"}, "its chrominance comes before the luminance"},
        {"gst", {"UYVY"}, "its chrominance comes before the luminance"},
        {"ros", {"yuv422", "uyvy"}, "its chrominance comes before the luminance"},
        {"v4l2", {"RGBR", "RGBQ"}, "its words have the high byte first"},
        {"gst", {"GRAY16_BE"}, "its words have the high byte first"},
        {"v4l2", {"Y012"}, "its values lie in the upper bits of their words"},
        {"pfnc", {"RGB10p32", "BGR10p32"}, "it has 10 bits of each colour; RGB30 has 12 of green"},
    };
    return list;
}

struct Split {
    std::string world;  // empty when the name has no prefix
    std::string name;
};

Split split(const std::string& name) {
    const size_t colon = name.find(':');
    if (colon == std::string::npos) return {"", name};
    Split parts{lower(name.substr(0, colon)), name.substr(colon + 1)};
    for (const std::string& world : worlds())
        if (world == parts.world) return parts;
    throw Failure(Exit::usage, text("unknown prefix in \"", name, "\""), "",
                  text("the prefixes are ", list(worlds())));
}

bool matches(const Split& wanted, const char* world, const char* name) {
    return (wanted.world.empty() || wanted.world == world) && lower(wanted.name) == lower(name);
}

constexpr Code code_of(const Mosaic& mosaic, size_t phase) {
    return static_cast<Code>(static_cast<size_t>(mosaic.first) + phase);
}

// Calls visit(world, name, code) for every name of a format.
template <typename Visit>
void for_each_name(Visit visit) {
    for (const Name& row : names) visit(row.world, row.name, row.code);
    for (const Mosaic& row : mosaics)
        for (size_t i = 0; i < 4; ++i) visit(row.world, row.name[i], code_of(row, i));
}

template <typename Visit>
void for_each_phase_name(Visit visit) {
    for (const PhaseNames& row : phase_names)
        for (size_t i = 0; i < 4; ++i) visit(row.world, row.name[i], static_cast<Phase>(i));
}

void refuse_unreadable(const Split& wanted, const std::string& name) {
    for (const Unreadable& row : unreadable_names())
        for (const char* other : row.name)
            if (matches(wanted, row.world, other))
                throw Failure(Exit::usage, text("no format here stores pixels as ", name, " does"),
                              row.why, "`trvil formats --names` lists what is read");
}

Failure ambiguous(const std::string& name, const std::vector<std::string>& meanings) {
    return {Exit::usage, text("\"", name, "\" means different things to different projects"),
            list(meanings), "write it with its prefix"};
}

bool is_own_name(const std::string& name) {
    for (const Format& format : formats)
        if (lower(format.name) == lower(name)) return true;
    return false;
}

}  // namespace

const std::vector<std::string>& worlds() {
    static const std::vector<std::string> all = {"pfnc", "v4l2", "gst", "ros", "opencv"};
    return all;
}

const Format* find_foreign_format(const std::string& name) {
    const Split wanted = split(name);
    const Format* found = nullptr;
    for_each_name([&](const char* world, const char* other, Code code) {
        if (found == nullptr && matches(wanted, world, other)) found = &format_of(code);
    });
    if (found == nullptr) refuse_unreadable(wanted, name);
    return found;
}

std::optional<Phase> find_foreign_phase(const std::string& name) {
    const Split wanted = split(name);
    std::optional<Phase> found;
    std::vector<std::string> meanings;
    bool agree = true;
    for_each_phase_name([&](const char* world, const char* other, Phase phase) {
        if (!matches(wanted, world, other)) return;
        meanings.push_back(text(world, ":", other, " is ", phase_name(phase)));
        agree = agree && (!found || *found == phase);
        found = phase;
    });
    if (!agree) throw ambiguous(name, meanings);
    return found;
}

std::vector<std::string> foreign_names(const Format& format, const std::string& world) {
    std::vector<std::string> result;
    for_each_name([&](const char* other, const char* name, Code code) {
        if (other != world || code != format.code) return;
        const bool ours = is_own_name(name) && lower(name) != lower(format.name);
        result.push_back(ours ? text(world, ":", name) : name);
    });
    return result;
}

std::vector<std::string> foreign_names(Phase phase) {
    std::vector<std::string> result;
    for_each_phase_name([&](const char* world, const char* name, Phase other) {
        if (other == phase) result.push_back(text(world, ":", name));
    });
    return result;
}

}  // namespace trv::tool
