#include "tool/files/y4m.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

#include "tool/cli/error.h"
#include "tool/cli/text.h"

namespace trv::tool {
namespace {

constexpr std::string_view frame_head = "FRAME\n";

// BT.601: how much of red and of blue is in the luminance.
constexpr float red = 0.299F, blue = 0.114F, green = 1 - red - blue;
constexpr float y_scale = 219.0F / 255, u_scale = 112.0F / 255 / (1 - blue),
                v_scale = 112.0F / 255 / (1 - red);
constexpr float half = 0.5F;  // conversion to an integer cuts

// A line of BGRX32 to a line of each plane.
void make_line(const uint8_t* __restrict pixels, uint32_t width, uint8_t* __restrict y,
               uint8_t* __restrict u, uint8_t* __restrict v) {
    for (uint32_t x = 0; x < width; ++x) {
        uint32_t pixel = 0;
        std::memcpy(&pixel, pixels + size_t{x} * 4, sizeof pixel);
        const auto b = static_cast<float>(static_cast<int32_t>(pixel & 0xFF));
        const auto g = static_cast<float>(static_cast<int32_t>(pixel >> 8 & 0xFF));
        const auto r = static_cast<float>(static_cast<int32_t>(pixel >> 16 & 0xFF));
        const float light = red * r + green * g + blue * b;
        y[x] = static_cast<uint8_t>(static_cast<int32_t>(y_scale * light + (16 + half)));
        u[x] = static_cast<uint8_t>(static_cast<int32_t>(u_scale * (b - light) + (128 + half)));
        v[x] = static_cast<uint8_t>(static_cast<int32_t>(v_scale * (r - light) + (128 + half)));
    }
}

bool is_grey(const Geometry& picture) {
    return picture.format->family == Family::grey;
}

std::optional<uint32_t> count_in(std::string_view digits) {
    uint32_t number = 0;
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (read.ec != std::errc() || read.ptr != digits.data() + digits.size() || number == 0 ||
        number > INT32_MAX)
        return std::nullopt;
    return number;
}

}  // namespace

FrameRate frame_rate_named(const std::string& name) {
    const std::string_view words = name;
    const size_t slash = words.find('/');
    const auto frames = count_in(words.substr(0, slash));
    const auto seconds = slash == std::string::npos ? 1 : count_in(words.substr(slash + 1));
    if (frames && seconds) return {*frames, *seconds};
    throw Failure(Exit::usage, text("cannot use ", name, " frames a second"),
                  "it is a whole number above 0, or one divided by another",
                  "write it as --fps 25 or --fps 30000/1001");
}

// Readers that know nothing of XCOLORRANGE take the same ranges for granted.
std::string y4m_head(const Geometry& g, const FrameRate& rate) {
    return text(
        "YUV4MPEG2 W", g.width, " H", g.height, " F", rate.frames, ":", rate.seconds, " Ip A1:1 ",
        is_grey(g) ? "Cmono XCOLORRANGE=FULL" : "C444 XYSCSS=444 XCOLORRANGE=LIMITED", "\n");
}

void y4m_frame(const Frame& picture, std::vector<uint8_t>* bytes) {
    const Geometry& g = picture.geometry();
    const size_t plane = size_t{g.width} * g.height;
    bytes->resize(frame_head.size() + plane * (is_grey(g) ? 1 : 3));
    std::copy(frame_head.begin(), frame_head.end(), bytes->begin());
    uint8_t* to = bytes->data() + frame_head.size();
    for (uint32_t line = 0; line < g.height; ++line, to += g.width) {
        if (is_grey(g))
            std::memcpy(to, picture.line(line), g.width);
        else
            make_line(picture.line(line), g.width, to, to + plane, to + 2 * plane);
    }
}

}  // namespace trv::tool
