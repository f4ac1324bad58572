#include "tool/picture/samples.h"

namespace trv::tool {
namespace {

// Grey counts as green.
Channel channel_of(const Field& field) {
    switch (field.channel) {
        case trv::Channel::R:
            return Channel::red;
        case trv::Channel::G:
        case trv::Channel::M:
            return Channel::green;
        case trv::Channel::B:
            return Channel::blue;
        default:
            return Channel::none;
    }
}

void add_channels(SampleLayout* layout, Channel even, Channel odd) {
    layout->channel[0][layout->period] = even;
    layout->channel[1][layout->period++] = odd;
}

// Colours of the first two pixels of the first two lines.
void add_mosaic(SampleLayout* layout, Phase phase) {
    constexpr Channel r = Channel::red, g = Channel::green, b = Channel::blue;
    constexpr Channel colours[][4] = {
        {r, g, g, b}, {g, r, b, g}, {g, b, r, g}, {b, g, g, r}, {r, g, g, b}};
    const Channel* c = colours[static_cast<size_t>(phase)];
    add_channels(layout, c[0], c[2]);
    add_channels(layout, c[1], c[3]);
}

}  // namespace

std::optional<SampleLayout> sample_layout(const Format& format, Phase phase) {
    SampleLayout layout{};
    layout.bytes = sample_bytes(format);
    if (format.family == Family::yuv || (layout.bytes != 1 && layout.bytes != 2))
        return std::nullopt;
    layout.bits = format.significant;
    layout.per_pixel = format.stored / 8 / layout.bytes;
    if (format.family == Family::bayer)
        add_mosaic(&layout, phase);
    else
        for (uint32_t i = 0; i < layout.per_pixel; ++i) {
            const Channel channel = channel_of(format.fields[i]);
            add_channels(&layout, channel, channel);
        }
    return layout;
}

uint32_t place_of(const SampleLayout& layout, Channel channel) {
    uint32_t place = 0;
    while (place + 1 < layout.period && layout.channel[0][place] != channel) ++place;
    return place;
}

}  // namespace trv::tool
