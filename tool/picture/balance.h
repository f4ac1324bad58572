// White balance and stretch: one gain per colour, worked out from the samples and applied to them
// at the depth they have, so that a dark picture is not made of a few 8-bit levels.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "tool/picture/samples.h"

namespace trv::tool {

using Gains = std::array<double, channel_count>;  // red, green, blue

// How often each sample value occurs, per channel.
struct Histogram {
    std::array<std::vector<uint64_t>, channel_count> counts;
};
Histogram take_histogram(const Frame& frame, const SampleLayout& layout);
// Those of a part of a picture to those of others; `histogram` is empty before the first.
void add_to(Histogram* histogram, const Frame& frame, const SampleLayout& layout);

// The largest value that occurs.
uint32_t brightest(const Histogram& histogram);
// How many samples are above `level`.
uint64_t count_above(const Histogram& histogram, uint32_t level);

struct Tuning {
    enum class White { off, grey, point, given } white = White::off;
    Gains given = {1, 1, 1};
    uint32_t x = 0, y = 0;  // of the point that is grey
    bool stretch = false;

    bool needed() const { return white != White::off || stretch; }
    // Whether the picture itself has a say in it.
    bool measured() const { return white == White::grey || white == White::point || stretch; }
};

// "off", "grey", "point X,Y", or three gains as "1.8,1,1.5". Throws Failure.
Tuning tuning_named(const std::string& white, const std::string& scale);

// Grey world scales red and blue until their means equal green's. The stretch then brings the level
// that 99.9 % of a channel's samples do not exceed to full range, for the brightest channel, and no
// gain below 1.
Gains choose_gains(const Tuning& tuning, const Histogram& histogram, const SampleLayout& layout);

// Samples are rounded, and end at full range.
void apply_gains(const Gains& gains, const Frame& frame, const SampleLayout& layout);

}  // namespace trv::tool
