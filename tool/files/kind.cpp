#include "tool/files/kind.h"

#include <filesystem>

#include "tool/cli/error.h"
#include "tool/cli/text.h"
#include "tool/files/tiff.h"
#include "tool/picture/samples.h"

namespace trv::tool {
namespace {

struct NamedKind {
    const char* name;
    Kind kind;
};
// The first name of a kind is the one it is called by.
constexpr NamedKind kinds[] = {{"png", Kind::png}, {"tif", Kind::tif}, {"tiff", Kind::tif},
                               {"ppm", Kind::ppm}, {"pgm", Kind::pgm}, {"dng", Kind::dng},
                               {"raw", Kind::raw}};

// One or three whole channels of 8 or 16 bits, all of them in use.
bool is_picture(const Format& format) {
    const auto layout = sample_layout(format, Phase::A);
    return layout && format.family != Family::bayer && layout->bits == 8 * layout->bytes &&
           layout->bits <= 16;
}

}  // namespace

const char* kind_name(Kind kind) {
    for (const NamedKind& named : kinds)
        if (named.kind == kind) return named.name;
    return "?";
}

std::optional<Kind> find_kind(const std::string& name) {
    for (const NamedKind& named : kinds)
        if (lower(name) == named.name) return named.kind;
    return std::nullopt;
}

Kind kind_of_path(const std::string& path) {
    const std::string end = std::filesystem::path(path).extension().string();
    if (const auto kind = find_kind(end.empty() ? end : end.substr(1))) return *kind;
    throw Failure(Exit::usage, text("cannot tell what kind of file \"", path, "\" shall be"), "",
                  "end its name in .png, .tif, .ppm, .pgm, .dng or .raw, or say --as KIND");
}

Kind kind_of_output(const std::string& output, const std::string& said) {
    if (said.empty() && output != "-") return kind_of_path(output);
    if (said.empty())
        throw Failure(Exit::usage, "stdout has no name that tells the kind of file", "",
                      "say --as png, tif, ppm, pgm, dng or raw");
    if (const auto kind = find_kind(said)) return *kind;
    throw Failure(Exit::usage, text("unknown kind of file \"", said, "\""), "",
                  "use png, tif, ppm, pgm, dng or raw");
}

bool holds(Kind kind, const Format& format) {
    const bool grey = format.family == Family::grey;
    switch (kind) {
        case Kind::raw:
            return true;
        case Kind::png:
            return is_picture(format);
        case Kind::ppm:
            return is_picture(format) && !grey;
        case Kind::pgm:
            return is_picture(format) && grey;
        case Kind::dng:
            return format.family == Family::bayer && sample_layout(format, Phase::A).has_value();
        // The library writes RGB24 too, but with red and blue exchanged.
        default:
            return is_deep_colour(format) ||
                   (has_full_samples(format) &&
                    (grey ? format.stored <= 16
                          : format.stored == 24 && format.fields[0].channel == trv::Channel::B));
    }
}

}  // namespace trv::tool
