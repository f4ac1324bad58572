// Where the red, green and blue samples of a picture lie, for everything that looks at single
// samples.
#pragma once

#include <cstdint>
#include <cstring>
#include <optional>

#include "image/format/format.h"
#include "tool/picture/frame.h"

namespace trv::tool {

enum class Channel : uint8_t { red, green, blue, none };
inline constexpr size_t channel_count = 3;

struct SampleLayout {
    uint32_t bytes;         // 1 or 2 per sample
    uint32_t bits;          // that carry the value
    uint32_t per_pixel;     // samples
    uint32_t period;        // samples after which the channels of a line repeat
    Channel channel[2][4];  // of even and of odd lines; grey counts as green

    uint32_t full() const { return (1u << bits) - 1; }
};

// None for formats whose samples are not whole bytes or words.
std::optional<SampleLayout> sample_layout(const Format& format, Phase phase);

// Where `channel` lies among the samples of a pixel that is not a mosaic's.
uint32_t place_of(const SampleLayout& layout, Channel channel);

// Calls visit(channel, pointer to sample) for all samples of a frame that have a channel.
template <typename Word, typename Visit>
void for_each_sample(const Frame& frame, const SampleLayout& layout, Visit visit) {
    const Geometry& g = frame.geometry();
    const uint64_t count = uint64_t{g.width} * layout.per_pixel;
    for (uint32_t y = 0; y < g.height; ++y)
        for (uint32_t first = 0; first < layout.period; ++first) {
            const Channel channel = layout.channel[y % 2][first];
            if (channel == Channel::none) continue;
            for (uint64_t i = first; i < count; i += layout.period)
                visit(channel, frame.line(y) + i * sizeof(Word));
        }
}

}  // namespace trv::tool
