#include "tool/picture/deepen.h"

#include <algorithm>
#include <cstring>

#include "tool/picture/samples.h"

namespace trv::tool {
namespace {

constexpr Channel colours[] = {Channel::red, Channel::green, Channel::blue};

uint32_t sample_at(const uint8_t* at, uint32_t bytes) {
    return bytes == 1 ? at[0] : at[0] | uint32_t{at[1]} << 8;
}

}  // namespace

bool can_be_deepened(const Format& format) {
    return format.family == Family::colour && sample_layout(format, Phase::A).has_value();
}

Frame deepened(const Frame& frame) {
    const Geometry& g = frame.geometry();
    const SampleLayout layout = *sample_layout(*g.format, Phase::A);
    Frame result(tight(format_of(Code::RGB48), g.width, g.height));
    for (uint32_t y = 0; y < g.height; ++y)
        for (uint32_t x = 0; x < g.width; ++x)
            for (size_t i = 0; i < std::size(colours); ++i) {
                const size_t place = size_t{x} * layout.per_pixel + place_of(layout, colours[i]);
                const uint32_t sample = std::min(
                    sample_at(frame.line(y) + place * layout.bytes, layout.bytes), layout.full());
                const auto word = static_cast<uint16_t>(
                    (uint64_t{sample} * 65535 + layout.full() / 2) / layout.full());
                std::memcpy(result.line(y) + (size_t{x} * 3 + i) * 2, &word, sizeof word);
            }
    return result;
}

}  // namespace trv::tool
