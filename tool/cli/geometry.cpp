#include "tool/cli/geometry.h"

#include "tool/cli/catalogue.h"
#include "tool/cli/error.h"
#include "tool/cli/text.h"

namespace trv::tool {
namespace {

constexpr uint32_t longest_side = 1000000;  // the most that a PNG reader accepts

// Digits only: the streams' own conversion would take signs and wrap around.
std::optional<uint32_t> side_named(const std::string& digits) {
    if (digits.empty() || digits.size() > 7) return std::nullopt;
    uint32_t side = 0;
    for (const char digit : digits) {
        if (digit < '0' || digit > '9') return std::nullopt;
        side = side * 10 + static_cast<uint32_t>(digit - '0');
    }
    if (side == 0 || side > longest_side) return std::nullopt;
    return side;
}

// Formats whose samples are whole 16-bit words.
bool wants_even_stride(const Format& format) {
    return format.stored % 16 == 0 && format.family != Family::yuv && format.significant > 8;
}

uint64_t tight_bytes(const Format& format, const Geometry& g) {
    return line_bytes(format, g.width) * g.height;
}

// Words of one pixel go by the names of formats.
std::vector<std::string> packings_of_length(const Geometry& g, uint64_t length) {
    std::vector<std::string> names;
    for (const Pixels& pixels : packings()) {
        const TRW_PackingInfo info = packing_info(pixels.packing, g.width);
        const bool alike = pixels.format->family == g.format->family ||
                           (pixels.mosaic != nullptr && g.format->family == Family::bayer);
        if (alike && info.group_pixels > 1 && info.line_bytes * g.height == length)
            names.emplace_back(info.name);
    }
    return names;
}

// Those of the same family if there are any.
std::string formats_of_length(const Geometry& g, uint64_t length) {
    const auto fits = [&](const Format& f) { return tight_bytes(f, g) == length; };
    const auto alike = [&](const Format& f) { return fits(f) && f.family == g.format->family; };
    std::vector<std::string> family = names_where(alike);
    for (const std::string& name : packings_of_length(g, length)) family.push_back(name);
    return list(family.empty() ? names_where(fits) : family);
}

}  // namespace

Size size_named(const std::string& name) {
    const size_t cross = name.find_first_of("xX");
    const auto width = side_named(name.substr(0, cross));
    const auto height =
        cross == std::string::npos ? std::nullopt : side_named(name.substr(cross + 1));
    if (width && height) return {*width, *height};
    throw Failure(Exit::usage, text("cannot use the size \"", name, "\""),
                  text("a size is WIDTHxHEIGHT in pixels, each from 1 to ", longest_side),
                  "write it as -s 1920x1080");
}

Geometry source_geometry(const Pixels& pixels, const Size& size, std::optional<uint64_t> stride) {
    const Format& format = *pixels.format;
    Geometry geometry = tight(format, size.width, size.height);
    geometry.packing = pixels.packing;
    geometry.stride = static_cast<uint32_t>(geometry.line());
    if (!stride) return geometry;
    const std::string what = text("cannot use the stride ", *stride);
    if (*stride < geometry.line() || *stride > UINT32_MAX)
        throw Failure(Exit::usage, what,
                      text("a line of ", size.width, " pixels ", geometry.name(), " has ",
                           geometry.line(), " bytes, and lines lie at most 4294967295 apart"),
                      "give the bytes from the start of a line to the start of the next");
    if (*stride % 2 != 0 && pixels.packing == 0 && wants_even_stride(format))
        throw Failure(Exit::usage, what, text("the samples of ", format.name, " are 16-bit words"),
                      "give an even number of bytes");
    geometry.stride = static_cast<uint32_t>(*stride);
    return geometry;
}

std::string advice_for_short(const Geometry& wanted, uint64_t available, uint64_t skipped) {
    std::vector<std::string> remedies;
    const std::string fitting = formats_of_length(wanted, available);
    if (!fitting.empty())
        remedies.push_back(
            text("at ", wanted.width, "x", wanted.height, " this length fits ", fitting));
    if (skipped != 0 && available + skipped >= wanted.bytes())
        remedies.push_back(
            text("with --skip ", available + skipped - wanted.bytes(), " it is enough"));
    if (wanted.stride != wanted.line() && available >= wanted.line() * wanted.height)
        remedies.push_back(text("without --stride it is enough"));
    if (const uint64_t lines = available / wanted.stride; lines != 0)
        remedies.push_back(text("it holds ", lines, " such lines: -s ", wanted.width, "x", lines));
    if (remedies.empty()) return "check -s and -f";
    return list(remedies, "; ");
}

std::string advice_for_surplus(const Geometry& wanted, uint64_t surplus, uint64_t skipped) {
    const uint64_t length = wanted.bytes() + surplus;
    const uint64_t frame = uint64_t{wanted.stride} * wanted.height;
    if (length >= frame + wanted.bytes())
        return text("it holds ", (length - wanted.bytes()) / frame + 1,
                    " such pictures, the second at --skip ", skipped + frame,
                    "; `trvil convert` makes files of all with {n} in the output's name");
    std::vector<std::string> remedies;
    const uint64_t stride = length / wanted.height;
    if (length % wanted.height == 0 && stride > wanted.stride)
        remedies.push_back(text("--stride ", stride, " if lines are padded"));
    remedies.push_back(text("--skip ", skipped + surplus, " if they come first"));
    const std::string fitting = formats_of_length(wanted, length);
    if (!fitting.empty()) remedies.push_back(text("the whole length fits ", fitting));
    return list(remedies, "; ");
}

}  // namespace trv::tool
