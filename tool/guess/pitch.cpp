#include "tool/guess/pitch.h"

#include <algorithm>
#include <cstdlib>

namespace trv::tool::guess {
namespace {

constexpr uint32_t shortest = 16, longest = 65536;  // bytes
constexpr uint32_t least_lines = 3;
constexpr size_t run = 32, runs = 512;  // bytes compared at each distance: runs of them
constexpr size_t most_dips = 8, most_divisors = 6;
// Samples of 1 to 6 bytes: distances that are alike modulo this compare alike bytes.
constexpr uint32_t classes = 12;

constexpr uint32_t widths[] = {
    160,  176,  320,  352,  384,  400,  512,  640,  656,  720,  728,  752,  768,  780,  800,
    808,  960,  1024, 1080, 1152, 1280, 1292, 1296, 1360, 1392, 1400, 1440, 1456, 1600, 1620,
    1624, 1628, 1920, 1936, 2040, 2048, 2064, 2080, 2160, 2304, 2448, 2464, 2560, 2592, 2752,
    3072, 3088, 3200, 3280, 3296, 3376, 3840, 4000, 4024, 4096, 4112, 4512, 4608, 5120, 5472};
constexpr uint32_t colour_bytes[] = {3, 4, 6, 8};  // of a pixel

uint32_t difference(const uint8_t* a, const uint8_t* b) {
    uint32_t sum = 0;
    for (size_t i = 0; i < run; ++i) sum += static_cast<uint32_t>(std::abs(a[i] - b[i]));
    return sum;
}

// The mean difference at every distance up to `most`.
std::vector<double> differences(const Dump& dump, uint32_t most) {
    std::vector<double> result(most + 1);
    const uint64_t room = dump.known - most - run;
    const uint64_t step = std::max<uint64_t>(1, room / runs);
    for (uint32_t lag = 0; lag <= most; ++lag) {
        uint64_t sum = 0, count = 0;
        // An odd shift from run to run keeps them from all beginning at the same place of a line.
        for (uint64_t at = 0; at < room; at += step, ++count)
            sum += difference(&dump.bytes[at], &dump.bytes[at + lag]);
        result[lag] = static_cast<double>(sum) / static_cast<double>(count * run);
    }
    return result;
}

// The mean over distances up to a tenth larger or smaller, of the same class.
std::vector<double> surroundings(const std::vector<double>& values) {
    std::vector<double> sums(values.size() + classes), result(values.size());
    for (size_t i = 0; i < values.size(); ++i) sums[i + classes] = sums[i] + values[i];
    for (size_t i = 0; i < values.size(); ++i) {
        const size_t wanted = std::max<size_t>(5, i / 10 / classes);
        const size_t below = std::min(wanted, i / classes);
        const size_t above = std::min(wanted, (values.size() - 1 - i) / classes);
        result[i] = (sums[i + (above + 1) * classes] - sums[i - below * classes]) /
                    static_cast<double>(below + above + 1);
    }
    return result;
}

// How far below its surroundings a distance lies, as a part of them.
std::vector<double> dips(const Dump& dump, uint32_t most) {
    const std::vector<double> values = differences(dump, most);
    std::vector<double> result = surroundings(values);
    for (size_t i = 0; i < result.size(); ++i)
        result[i] = result[i] > 0 ? 1 - values[i] / result[i] : 0;
    return result;
}

void add(std::vector<uint32_t>* pitches, uint32_t pitch) {
    if (pitch >= shortest && std::find(pitches->begin(), pitches->end(), pitch) == pitches->end())
        pitches->push_back(pitch);
}

// The deepest dips; not several from the slopes of one.
std::vector<uint32_t> deepest(const std::vector<double>& depth) {
    std::vector<uint32_t> order, chosen;
    for (uint32_t i = shortest; i + 1 < depth.size(); ++i)
        if (depth[i] > 0.02) order.push_back(i);
    std::sort(order.begin(), order.end(),
              [&](uint32_t a, uint32_t b) { return depth[a] > depth[b]; });
    const auto beside = [&](uint32_t pitch) {
        return std::any_of(chosen.begin(), chosen.end(), [pitch](uint32_t other) {
            return std::max(pitch, other) - std::min(pitch, other) <= std::max(8u, other / 100);
        });
    };
    for (size_t i = 0; i < order.size() && chosen.size() < most_dips; ++i)
        if (!beside(order[i])) chosen.push_back(order[i]);
    return chosen;
}

// Lines of usual widths that the length holds a whole number of.
std::vector<uint32_t> divisors(const Dump& dump, const std::vector<double>& depth) {
    std::vector<uint32_t> found;
    const auto try_pitch = [&](uint64_t pitch) {
        if (pitch < depth.size() && dump.length % pitch == 0)
            add(&found, static_cast<uint32_t>(pitch));
    };
    for (const uint32_t width : widths) {
        for (const Packing& packing : packings) try_pitch(packing.bytes_of(width));
        for (const uint32_t bytes : colour_bytes) try_pitch(uint64_t{width} * bytes);
    }
    std::sort(found.begin(), found.end(),
              [&](uint32_t a, uint32_t b) { return depth[a] > depth[b]; });
    found.resize(std::min(found.size(), most_divisors));
    return found;
}

double deepest_around(const std::vector<double>& depth, uint32_t lag) {
    constexpr uint32_t tolerance = 4;
    double deepest = 0;
    for (uint32_t i = std::max(lag, tolerance) - tolerance;
         i <= lag + tolerance && i < depth.size(); ++i)
        deepest = std::max(deepest, depth[i]);
    return deepest;
}

// Several lines together may be more alike than single ones. Those of a mosaic are so by twos, and
// there the next line is most alike a pixel further on.
std::vector<uint32_t> parts(uint32_t pitch, const std::vector<double>& depth) {
    constexpr uint32_t most_lines = 12;
    std::vector<uint32_t> result;
    const double top = *std::max_element(depth.begin() + shortest, depth.end());
    for (uint32_t lines = 2; lines <= most_lines; ++lines)
        if (pitch % lines == 0 && deepest_around(depth, pitch / lines) > 0.1 * top)
            result.push_back(pitch / lines);
    return result;
}

}  // namespace

std::vector<uint32_t> likely_pitches(const Dump& dump) {
    const auto most = static_cast<uint32_t>(std::min<uint64_t>(longest, dump.known / least_lines));
    if (most < shortest || dump.known < most + 2 * run) return {};
    const std::vector<double> depth = dips(dump, most);
    std::vector<uint32_t> found = deepest(depth), pitches;
    for (const uint32_t pitch : divisors(dump, depth)) add(&found, pitch);
    for (const uint32_t pitch : found) {
        add(&pitches, pitch);
        for (const uint32_t part : parts(pitch, depth)) add(&pitches, part);
    }
    return pitches;
}

}  // namespace trv::tool::guess
