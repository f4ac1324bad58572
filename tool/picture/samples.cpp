#include "tool/picture/samples.h"

#include <string>

namespace trv::tool {
namespace {

Channel channel_of(char letter) {
    switch (letter) {
        case 'R':
            return Channel::red;
        case 'G':
            return Channel::green;
        case 'B':
            return Channel::blue;
        default:
            return Channel::none;
    }
}

void set_channels(SampleLayout* layout, const std::string& even, const std::string& odd) {
    layout->period = static_cast<uint32_t>(even.size());
    for (size_t i = 0; i < even.size(); ++i) {
        layout->channel[0][i] = channel_of(even[i]);
        layout->channel[1][i] = channel_of(odd[i]);
    }
}

// The letters at the start of a colour format's name are its samples in memory order.
std::string letters(const Format& format) {
    const std::string name(format.name);
    return name.substr(0, name.find_first_of("0123456789"));
}

std::string first_colours(Phase phase) {
    constexpr const char* colours[] = {"RG", "GR", "GB", "BG", "RG"};
    return colours[static_cast<size_t>(phase)];
}

std::string second_colours(Phase phase) {
    constexpr const char* colours[] = {"GB", "BG", "RG", "GR", "GB"};
    return colours[static_cast<size_t>(phase)];
}

}  // namespace

std::optional<SampleLayout> sample_layout(const Format& format, Phase phase) {
    SampleLayout layout{};
    layout.per_pixel = 1;
    switch (format.family) {
        case Family::grey:
            set_channels(&layout, "G", "G");
            break;
        case Family::bayer:
            set_channels(&layout, first_colours(phase), second_colours(phase));
            break;
        case Family::colour:
            set_channels(&layout, letters(format), letters(format));
            layout.per_pixel = layout.period;
            break;
        default:
            return std::nullopt;
    }
    const uint32_t stored = format.stored / layout.per_pixel;
    if (stored != 8 && stored != 16) return std::nullopt;
    layout.bytes = stored / 8;
    layout.bits = format.significant;
    return layout;
}

uint32_t place_of(const SampleLayout& layout, Channel channel) {
    uint32_t place = 0;
    while (place + 1 < layout.period && layout.channel[0][place] != channel) ++place;
    return place;
}

}  // namespace trv::tool
