#include "tool/develop/reference.h"

#include <charconv>

#include "tool/cli/error.h"
#include "tool/cli/text.h"
#include "tool/commands/conversion.h"
#include "tool/files/input.h"
#include "tool/files/picture_read.h"
#include "tool/picture/balance.h"

namespace trv::tool {
namespace {

constexpr uint64_t longest_list = uint64_t{64} << 20;  // bytes

Failure unlike(const std::string& path, const std::string& why, const std::string& next) {
    return {Exit::input, text(path, " does not belong to this dump"), why, next};
}

void check_size(const std::string& path, const Geometry& g, const Geometry& source) {
    if (g.width == source.width && g.height == source.height) return;
    throw unlike(path,
                 text("it has ", g.width, "x", g.height, " pixels, the dump has ", source.width,
                      "x", source.height),
                 "take one of the same sensor, with the same region of interest");
}

void check_depth(const std::string& path, const Frame& picture, const Geometry& source) {
    const Geometry& g = picture.geometry();
    const SampleLayout layout = *sample_layout(*g.format, Phase::A);
    const uint32_t top = brightest(take_histogram(picture, layout));
    const uint32_t full = (1u << source.format->significant) - 1;
    if (source.format->significant > 8 && layout.bytes == 1)
        throw unlike(path,
                     text("its samples have 8 bits, those of ", source.name(), " ",
                          source.format->significant),
                     "take a picture of 16 bits, as `trvil calibrate` writes it");
    if (top > full)
        throw unlike(path,
                     text("its samples go up to ", top, ", those of ", source.name(), " to ", full),
                     "its samples have to count as the dump's do, from 0 to what the format names");
}

// Of the same samples, whole.
Frame read_dump(const std::string& path, const Geometry& source, uint64_t skip) {
    Frame frame = read_frame(path, source, skip);
    if (!is_packed(*source.format)) return frame;
    const auto route =
        plan(*source.format, nullptr,
             source.format->family == Family::bayer ? Kind::dng : Kind::pgm, {}, Via::automatic);
    return convert(std::move(frame), route, {});
}

bool is_grey(const Frame& picture) {
    return picture.geometry().format->family == Family::grey;
}

Failure bad_line(const std::string& path, size_t number, const std::string& line,
                 const std::string& why) {
    return {Exit::input, text("cannot use the defects of ", path),
            text("line ", number, ", \"", line, "\", ", why),
            "write x and y on each line, counted from 0; comments run from #"};
}

// Two numbers and nothing else.
bool read_place(const std::string& line, TRW_Defect* defect) {
    std::istringstream in(line);
    std::string x, y, more;
    in >> x >> y;
    if (!x.empty() && x.back() == ',') x.pop_back();
    const auto read = [](const std::string& word, uint32_t* number) {
        const char* end = word.data() + word.size();
        const auto [rest, error] = std::from_chars(word.data(), end, *number);
        return !word.empty() && rest == end && error == std::errc{};
    };
    return read(x, &defect->x) && read(y, &defect->y) && !(in >> more);
}

std::vector<TRW_Defect> read_list(const std::string& path, const Geometry& source) {
    const Contents contents = read_contents(path, longest_list, longest_list);
    std::istringstream in(std::string(contents.bytes.begin(), contents.bytes.end()));
    std::vector<TRW_Defect> defects;
    std::string line;
    for (size_t number = 1; std::getline(in, line); ++number) {
        const std::string words = line.substr(0, line.find('#'));
        if (words.find_first_not_of(" \t\r") == std::string::npos) continue;
        TRW_Defect defect{};
        if (!read_place(words, &defect)) throw bad_line(path, number, line, "is no x and y");
        if (defect.x >= source.width || defect.y >= source.height)
            throw bad_line(path, number, line,
                           text("lies outside of ", source.width, "x", source.height, " pixels"));
        defects.push_back(defect);
    }
    return defects;
}

std::vector<TRW_Defect> marked(const Frame& picture) {
    const Geometry& g = picture.geometry();
    const uint32_t bytes = sample_bytes(*g.format);
    std::vector<TRW_Defect> defects;
    for (uint32_t y = 0; y < g.height; ++y)
        for (uint32_t x = 0; x < g.width; ++x) {
            const uint8_t* sample = picture.line(y) + size_t{x} * bytes;
            if (sample[0] != 0 || sample[bytes - 1] != 0) defects.push_back({x, y});
        }
    return defects;
}

}  // namespace

Frame read_reference(const std::string& path, const Geometry& source, uint64_t skip) {
    std::optional<Frame> picture = read_picture(path);
    if (picture && !is_grey(*picture))
        throw unlike(path, "it is a picture in colour",
                     "take a dump of the same kind, or a grey picture of its samples");
    if (picture) check_size(path, picture->geometry(), source);
    Frame frame = picture ? std::move(*picture) : read_dump(path, source, skip);
    check_depth(path, frame, source);
    return frame;
}

std::vector<TRW_Defect> read_defects(const std::string& path, const Geometry& source) {
    const std::optional<Frame> picture = read_picture(path);
    if (!picture) return read_list(path, source);
    if (!is_grey(*picture))
        throw unlike(path, "it is a picture in colour", "a map of defects is a grey picture");
    check_size(path, picture->geometry(), source);
    return marked(*picture);
}

}  // namespace trv::tool
