#include "tool/guess/hypothesis.h"

#include <algorithm>

#include "tool/guess/pitch.h"

namespace trv::tool::guess {
namespace {

constexpr size_t most_kept = 12;
constexpr uint64_t few_lines =
    8;  // beyond it a pitch must be better to explain what is several of it

// Where whole groups of samples may begin: with the dump, or after a header of any length.
std::vector<uint64_t> starts(const Dump& dump, uint64_t pitch, const Packing& packing) {
    std::vector<uint64_t> result = {dump.length % pitch};
    for (uint64_t start = 0; start < packing.group_bytes; ++start)
        if (start != result.front()) result.push_back(start);
    return result;
}

// The best of each pattern.
void keep_best(const Hypothesis& found, std::vector<Hypothesis>* kept) {
    for (Hypothesis& other : *kept)
        if (other.pattern == found.pattern) {
            // Without a header where that is as good.
            const bool simpler = found.start == 0 && found.cost <= other.cost * 1.02;
            if (found.cost < other.cost || simpler) other = found;
            return;
        }
    kept->push_back(found);
}

bool whole_pixels(const Hypothesis& h) {
    return h.packing->samples_in(h.pitch) >= 16;
}

std::vector<Hypothesis> try_packing(const Dump& dump, uint64_t pitch, const Packing& packing) {
    std::vector<Hypothesis> kept;
    for (const uint64_t start : starts(dump, pitch, packing)) {
        const Bands bands = take_bands(dump, start, pitch, packing);
        for (const Fit& fit : fit_patterns(bands, packing)) {
            const Hypothesis found{&packing, fit.pattern, pitch, start, fit.cost};
            if (whole_pixels(found)) keep_best(found, &kept);
        }
    }
    return kept;
}

// Several lines side by side make a picture too, a little less smooth downwards, and so does a
// pitch that is a little wrong: the picture leans.
bool explains(const Hypothesis& better, const Hypothesis& h) {
    const uint64_t lines = std::max<uint64_t>(1, (h.pitch + better.pitch / 2) / better.pitch);
    const uint64_t straight = lines * better.pitch;
    const uint64_t off = std::max(h.pitch, straight) - std::min(h.pitch, straight);
    if (off * 50 > better.pitch || h.pitch == better.pitch) return false;
    if (lines > few_lines) return better.cost < h.cost;
    return lines == 1 ? better.cost <= h.cost : better.cost < 1.3 * h.cost + 0.02;
}

// Words taken from the low byte of one sample and the high byte of its neighbour are nearly as
// smooth as the words themselves.
bool straddles(const Hypothesis& h, const Hypothesis& better) {
    return h.packing->bits == 16 && better.packing->bits == 16 &&
           h.packing->high_first != better.packing->high_first && h.pitch == better.pitch &&
           h.pattern == better.pattern && h.start % 2 != better.start % 2 && better.cost <= h.cost;
}

bool explained(const Hypothesis& h, const std::vector<Hypothesis>& all) {
    return std::any_of(all.begin(), all.end(), [&h](const Hypothesis& other) {
        return explains(other, h) || straddles(h, other);
    });
}

}  // namespace

std::vector<Hypothesis> likely_hypotheses(const Dump& dump) {
    std::vector<Hypothesis> all, kept;
    for (const uint32_t pitch : likely_pitches(dump))
        for (const Packing& packing : packings)
            for (const Hypothesis& found : try_packing(dump, pitch, packing)) all.push_back(found);
    std::stable_sort(all.begin(), all.end(),
                     [](const Hypothesis& a, const Hypothesis& b) { return a.cost < b.cost; });
    for (const Hypothesis& h : all)
        if (kept.size() < most_kept && !explained(h, all)) kept.push_back(h);
    return kept;
}

}  // namespace trv::tool::guess
