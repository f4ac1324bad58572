#include "tool/guess/lines.h"

#include <algorithm>
#include <cmath>

namespace trv::tool::guess {
namespace {

constexpr size_t most_lines = 200;
constexpr uint64_t least_padding = 4;  // bytes
constexpr double clear = 1.5;  // times what is usual, where the end of a line meets the next one

// The dump as lines of `pitch` bytes from `start` on, as if one line followed the other.
class Torus {
  public:
    Torus(const Dump& dump, const Hypothesis& h)
        : dump_(dump),
          packing_(*h.packing),
          pitch_(h.pitch),
          start_(h.start),
          width_(h.packing->samples_in(h.pitch)),
          lines_((dump.known - h.start) / h.pitch),
          step_(std::max<uint64_t>(1, lines_ / most_lines)) {}

    uint64_t width() const { return width_; }
    uint64_t lines() const { return lines_; }
    uint64_t step() const { return step_; }
    uint32_t at(uint64_t x, uint64_t y) const {
        return sample_at(packing_, &dump_.bytes[start_ + (y + x / width_) * pitch_], x % width_);
    }

    // How much a column differs from the one `lag` further on, over some lines.
    double step_at(uint64_t x, uint64_t lag) const {
        double sum = 0, count = 0;
        for (uint64_t y = 0; y + 2 < lines_; y += step_, ++count)
            sum += std::abs(double{at(x, y) * 1.0} - at(x + lag, y));
        return count == 0 ? 0 : sum / count;
    }

    bool is_constant(uint64_t x, uint32_t* value) const {
        *value = at(x, 0);
        for (uint64_t y = 0; y < lines_; ++y)
            if (at(x, y) != *value) return false;
        return true;
    }

  private:
    const Dump& dump_;
    const Packing& packing_;
    uint64_t pitch_, start_, width_, lines_, step_;
};

struct Run {
    uint64_t first = 0, length = 0;  // in samples, around the torus
};

// The longest run of columns that hold one value in all lines.
Run find_padding(const Torus& torus) {
    const uint64_t width = torus.width();
    std::vector<int64_t> value(width);
    for (uint64_t x = 0; x < width; ++x) {
        uint32_t constant = 0;
        value[x] = torus.is_constant(x, &constant) ? int64_t{constant} : -1;
    }
    Run best, now;
    for (uint64_t i = 0; i < 2 * width; ++i) {
        const uint64_t x = i % width;
        const bool goes_on =
            value[x] >= 0 && now.length > 0 && value[x] == value[(x + width - 1) % width];
        now = value[x] < 0 ? Run{} : goes_on ? Run{now.first, now.length + 1} : Run{x, 1};
        if (now.length > best.length && now.length < width) best = now;
    }
    return best;
}

// How much the picture breaks before each column: 1 is usual.
std::vector<double> find_breaks(const Torus& torus, uint64_t lag) {
    const uint64_t width = torus.width();
    std::vector<double> steps(width), breaks(width);
    for (uint64_t x = 0; x < width; ++x) steps[x] = torus.step_at(x, lag);
    for (uint64_t x = 0; x < width; ++x)
        for (uint64_t i = 1; i <= lag; ++i) breaks[x] += steps[(x + width - i) % width];
    std::vector<double> sorted = breaks;
    std::nth_element(sorted.begin(), sorted.begin() + static_cast<long>(width * 3 / 4),
                     sorted.end());
    const double usual = std::max(1e-9, sorted[width * 3 / 4]);
    for (double& value : breaks) value /= usual;
    return breaks;
}

struct Edge {
    uint64_t skip;
    bool seen;
};

// Among what the length allows, unless the samples contradict.
Edge choose_edge(const Dump& dump, const Hypothesis& h, const std::vector<double>& breaks) {
    const uint64_t rest = dump.length % h.pitch;
    const auto break_at = [&](uint64_t skip) {
        const uint64_t byte = (skip + h.pitch - h.start % h.pitch) % h.pitch;
        return breaks[std::min<uint64_t>(h.packing->samples_in(byte), breaks.size() - 1)];
    };
    const auto top = std::max_element(breaks.begin(), breaks.end());
    const auto column = static_cast<uint64_t>(top - breaks.begin());
    const uint64_t broken = (h.start + h.packing->bytes_of(column)) % h.pitch;
    const uint64_t simple = break_at(rest) > break_at(0) ? rest : 0;
    const double most = *top, least = break_at(simple);
    // Left and right may be equally dark, so a length that fits goes before what breaks most.
    const bool contradicted = rest != 0 && least < clear && most > 2 * clear;
    return contradicted ? Edge{broken, true} : Edge{simple, break_at(simple) >= clear};
}

double line_step(const Torus& torus, uint64_t y, uint64_t lag) {
    double sum = 0;
    for (uint64_t x = 0; x < torus.width(); ++x)
        sum += std::abs(1.0 * torus.at(x, y) - torus.at(x, y + lag));
    return sum / static_cast<double>(torus.width());
}

// Whole lines at the beginning that are no part of the picture.
uint64_t strange_lines(const Torus& torus, uint64_t lag) {
    constexpr uint64_t most = 64;
    std::vector<double> steps;
    for (uint64_t y = 0; y + lag + 1 < torus.lines(); y += torus.step())
        steps.push_back(line_step(torus, y, lag));
    if (steps.size() < 8) return 0;
    std::nth_element(steps.begin(), steps.begin() + static_cast<long>(steps.size() * 9 / 10),
                     steps.end());
    const double much = 3 * steps[steps.size() * 9 / 10] + 1;
    uint64_t y = 0;
    while (y < most && y + lag + 1 < torus.lines() && line_step(torus, y, lag) > much) ++y;
    return y == most ? 0 : y;
}

Lines count_lines(const Dump& dump, const Hypothesis& h, uint64_t skip, uint64_t line_bytes,
                  bool seen) {
    const uint64_t left = dump.length - std::min(skip, dump.length);
    const uint64_t height = left < line_bytes ? 0 : (left - line_bytes) / h.pitch + 1;
    // What looks like padding may begin with the pad byte of the last pixel.
    const uint32_t pixel = per_pixel(h.pattern);
    const uint64_t width = (h.packing->samples_in(line_bytes) + (pixel == 4 ? 3 : 0)) / pixel;
    const uint64_t used = height == 0 ? 0 : (height - 1) * h.pitch + line_bytes;
    uint64_t trailing = left - used;
    // Padding after the last line is no surplus.
    if (trailing == h.pitch - line_bytes) trailing = 0;
    return {skip, width, height, h.pitch - line_bytes, trailing, seen};
}

}  // namespace

Lines find_lines(const Dump& dump, const Hypothesis& h) {
    Torus torus(dump, h);
    const Run padding = find_padding(torus);
    const uint64_t lag =
        across(h.pattern) == 4 && per_pixel(h.pattern) == 2 ? 4 : across(h.pattern);
    // A pad byte in each pixel is one column at a time, and a dark edge a few.
    const bool padded = padding.length > per_pixel(h.pattern) &&
                        h.packing->bytes_of(padding.length) >= least_padding;
    uint64_t line_bytes = h.pitch;
    Edge edge{};
    if (padded) {
        const uint64_t end = padding.first + padding.length;
        const bool at_end = end == torus.width();
        line_bytes = at_end ? h.packing->bytes_of(padding.first)
                            : h.pitch - h.packing->bytes_of(padding.length);
        edge = {(h.start + (at_end ? 0 : h.packing->bytes_of(end))) % h.pitch, true};
    } else {
        edge = choose_edge(dump, h, find_breaks(torus, lag));
    }
    Hypothesis aligned = h;
    aligned.start = edge.skip;
    const uint64_t strange = strange_lines(Torus(dump, aligned), down(h.pattern));
    return count_lines(dump, h, edge.skip + strange * h.pitch, line_bytes, edge.seen);
}

}  // namespace trv::tool::guess
