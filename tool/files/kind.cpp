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
constexpr NamedKind kinds[] = {
    {"png", Kind::png},          {"tif", Kind::tif},         {"tiff", Kind::tif},
    {"ppm", Kind::ppm},          {"pgm", Kind::pgm},         {"dng", Kind::dng},
    {"raw", Kind::raw},          {"y4m", Kind::y4m},         {"rgb24", Kind::rgb24},
    {"bgr24", Kind::bgr24},      {"rgb48le", Kind::rgb48le}, {"gray", Kind::gray},
    {"gray16le", Kind::gray16le}};

// One or three whole channels of 8 or 16 bits, all of them in use.
bool is_picture(const Format& format) {
    const auto layout = sample_layout(format, Phase::A);
    return layout && format.family != Family::bayer && layout->bits == 8 * layout->bytes &&
           layout->bits <= 16;
}

}  // namespace

bool is_video(Kind kind) {
    return kind == Kind::y4m || video_format(kind) != nullptr;
}

const Format* video_format(Kind kind) {
    switch (kind) {
        case Kind::rgb24:
            return &format_of(Code::RGB24);
        case Kind::bgr24:
            return &format_of(Code::BGR24);
        case Kind::rgb48le:
            return &format_of(Code::RGB48);
        case Kind::gray:
            return &format_of(Code::Mono8);
        case Kind::gray16le:
            return &format_of(Code::Mono16);
        default:
            return nullptr;
    }
}

const char* kind_name(Kind kind) {
    for (const NamedKind& named : kinds)
        if (named.kind == kind) return named.name;
    return "?";
}

std::vector<std::string> kind_names() {
    std::vector<std::string> names;
    for (const NamedKind& named : kinds)
        if (named.name == kind_name(named.kind)) names.emplace_back(named.name);
    return names;
}

std::optional<Kind> find_kind(const std::string& name) {
    for (const NamedKind& named : kinds)
        if (lower(name) == named.name) return named.kind;
    return std::nullopt;
}

Kind kind_of_path(const std::string& path) {
    const std::string end = std::filesystem::path(path).extension().string();
    if (const auto kind = find_kind(end.empty() ? end : end.substr(1))) return *kind;
    throw Failure(
        Exit::usage, text("cannot tell what kind of file \"", path, "\" shall be"), "",
        "end its name in .png, .tif, .ppm, .pgm, .dng, .raw, .y4m or .rgb24, or say --as KIND");
}

Kind kind_of_output(const std::string& output, const std::string& said) {
    if (said.empty() && output != "-") return kind_of_path(output);
    if (said.empty())
        throw Failure(Exit::usage, "stdout has no name that tells the kind of file", "",
                      text("say --as ", list(kind_names(), " or ")));
    if (const auto kind = find_kind(said)) return *kind;
    throw Failure(Exit::usage, text("unknown kind of file \"", said, "\""), "",
                  text("use ", list(kind_names(), " or ")));
}

bool holds(Kind kind, const Format& format) {
    const bool grey = format.family == Family::grey;
    if (const Format* video = video_format(kind)) return format.code == video->code;
    switch (kind) {
        case Kind::raw:
            return true;
        case Kind::png:
            return is_picture(format);
        case Kind::ppm:
            return is_picture(format) && !grey;
        case Kind::pgm:
            return is_picture(format) && grey;
        case Kind::y4m:
            return format.code == Code::Mono8 || format.code == Code::BGRX32;
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
