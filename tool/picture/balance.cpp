#include "tool/picture/balance.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "tool/cli/error.h"
#include "tool/cli/text.h"

namespace trv::tool {
namespace {

constexpr size_t red = static_cast<size_t>(Channel::red);
constexpr size_t green = static_cast<size_t>(Channel::green);
constexpr size_t blue = static_cast<size_t>(Channel::blue);
constexpr double used_part = 0.999;
constexpr double largest_gain = 1000;

using Counts = std::vector<uint64_t>;

template <typename Word>
Word load(const uint8_t* at) {
    Word word;
    std::memcpy(&word, at, sizeof word);
    return word;
}

template <typename Word>
void count_samples(const Frame& frame, const SampleLayout& layout, Histogram* histogram) {
    for_each_sample<Word>(frame, layout, [histogram](Channel channel, const uint8_t* at) {
        ++histogram->counts[static_cast<size_t>(channel)][load<Word>(at)];
    });
}

template <typename Word>
void replace_samples(const std::array<std::vector<uint16_t>, channel_count>& tables,
                     const Frame& frame, const SampleLayout& layout) {
    for_each_sample<Word>(frame, layout, [&tables](Channel channel, uint8_t* at) {
        const auto word = static_cast<Word>(tables[static_cast<size_t>(channel)][load<Word>(at)]);
        std::memcpy(at, &word, sizeof word);
    });
}

std::vector<uint16_t> gain_table(double gain, const SampleLayout& layout) {
    std::vector<uint16_t> table(size_t{1} << 8 * layout.bytes);
    for (size_t value = 0; value < table.size(); ++value)
        table[value] = static_cast<uint16_t>(
            std::min<double>(layout.full(), std::round(static_cast<double>(value) * gain)));
    return table;
}

uint64_t total(const Counts& counts) {
    uint64_t sum = 0;
    for (const uint64_t count : counts) sum += count;
    return sum;
}

// Of the samples times `gain`, which end at `full`.
double mean(const Counts& counts, double gain, double full) {
    double sum = 0;
    for (size_t value = 0; value < counts.size(); ++value)
        sum +=
            static_cast<double>(counts[value]) * std::min(full, static_cast<double>(value) * gain);
    return sum / static_cast<double>(std::max<uint64_t>(1, total(counts)));
}

// By halving: samples that a gain drives into full range make the mean grow slower than the gain.
double gain_to_mean(const Counts& counts, double wanted, double full) {
    double low = 0, high = largest_gain;
    for (int step = 0; step < 40; ++step) {
        const double middle = (low + high) / 2;
        (mean(counts, middle, full) < wanted ? low : high) = middle;
    }
    return high;
}

// The smallest level that this part of the samples does not exceed.
double level_of(const Counts& counts, double part) {
    const double wanted = part * static_cast<double>(total(counts));
    double below = 0;
    for (size_t value = 0; value < counts.size(); ++value) {
        below += static_cast<double>(counts[value]);
        if (below >= wanted) return static_cast<double>(value);
    }
    return 0;
}

Gains grey_world(const Histogram& histogram, double full) {
    const double greens = mean(histogram.counts[green], 1, full);
    const Gains gains = {gain_to_mean(histogram.counts[red], greens, full), 1,
                         gain_to_mean(histogram.counts[blue], greens, full)};
    if (greens == 0 || std::max(gains[red], gains[blue]) >= largest_gain)
        throw Failure(Exit::conversion, "no white balance",
                      "the picture has no red, no green or no blue to speak of",
                      "give the gains with --wb R,G,B, or check -f, -s and --phase");
    return gains;
}

double stretch_of(const Gains& gains, const Histogram& histogram, const SampleLayout& layout) {
    double top = 0;
    for (size_t i = 0; i < channel_count; ++i)
        top = std::max(top, gains[i] * level_of(histogram.counts[i], used_part));
    return top == 0 ? 1 : layout.full() / top;
}

Gains parse_gains(const std::string& words) {
    std::istringstream in(words);
    Gains gains{};
    char comma = ',';
    for (size_t i = 0; i < channel_count; ++i)
        if ((i > 0 && !(in >> comma)) || comma != ',' || !(in >> gains[i])) gains[i] = -1;
    const auto sane = [](double gain) { return gain > 0 && gain <= largest_gain; };
    if (in.peek() != EOF || !std::all_of(gains.begin(), gains.end(), sane))
        throw Failure(Exit::usage, text("cannot use the white balance \"", words, "\""),
                      text("gains are three numbers above 0, at most ", largest_gain),
                      "use off, grey, \"point X,Y\", or three gains such as 1.8,1,1.5");
    return gains;
}

// What stands behind "point", after a space or a colon.
void parse_point(const std::string& words, Tuning* tuning) {
    std::istringstream in(words);
    char before = 0, comma = 0;
    const bool read = in.get(before) && (before == ' ' || before == ':') && in.peek() != '-' &&
                      (in >> tuning->x >> comma) && comma == ',' && in.peek() != '-' &&
                      (in >> tuning->y) && in.peek() == EOF;
    if (!read)
        throw Failure(Exit::usage, text("cannot use the white balance \"point", words, "\""),
                      "a point is two numbers, x and y, counted from 0",
                      "write it as --wb point:960,540");
    tuning->white = Tuning::White::point;
}

}  // namespace

Histogram take_histogram(const Frame& frame, const SampleLayout& layout) {
    Histogram histogram;
    add_to(&histogram, frame, layout);
    return histogram;
}

void add_to(Histogram* histogram, const Frame& frame, const SampleLayout& layout) {
    for (Counts& counts : histogram->counts) counts.resize(size_t{1} << 8 * layout.bytes);
    if (layout.bytes == 1)
        count_samples<uint8_t>(frame, layout, histogram);
    else
        count_samples<uint16_t>(frame, layout, histogram);
}

uint32_t brightest(const Histogram& histogram) {
    uint32_t level = 0;
    for (const Counts& counts : histogram.counts)
        for (uint32_t value = level; value < counts.size(); ++value)
            if (counts[value] != 0) level = value;
    return level;
}

uint64_t count_above(const Histogram& histogram, uint32_t level) {
    uint64_t sum = 0;
    for (const Counts& counts : histogram.counts)
        for (size_t value = size_t{level} + 1; value < counts.size(); ++value) sum += counts[value];
    return sum;
}

Tuning tuning_named(const std::string& white, const std::string& scale) {
    Tuning tuning;
    tuning.stretch = scale == "auto";
    if (white == "grey" || white == "gray") {
        tuning.white = Tuning::White::grey;
    } else if (white.rfind("point", 0) == 0) {
        parse_point(white.substr(5), &tuning);
    } else if (white != "off") {
        tuning.white = Tuning::White::given;
        tuning.given = parse_gains(white);
    }
    return tuning;
}

Gains choose_gains(const Tuning& tuning, const Histogram& histogram, const SampleLayout& layout) {
    Gains gains = tuning.given;
    if (tuning.white == Tuning::White::grey) gains = grey_world(histogram, layout.full());
    if (!tuning.stretch) return gains;
    // No gain below 1: where the sensor was saturated in all colours, white would turn pink.
    const double least = *std::min_element(gains.begin(), gains.end());
    const double stretch = std::max(stretch_of(gains, histogram, layout), 1 / least);
    for (double& gain : gains) gain *= stretch;
    return gains;
}

void apply_gains(const Gains& gains, const Frame& frame, const SampleLayout& layout) {
    std::array<std::vector<uint16_t>, channel_count> tables;
    for (size_t i = 0; i < channel_count; ++i) tables[i] = gain_table(gains[i], layout);
    if (layout.bytes == 1)
        replace_samples<uint8_t>(tables, frame, layout);
    else
        replace_samples<uint16_t>(tables, frame, layout);
}

}  // namespace trv::tool
