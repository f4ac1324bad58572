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
    for (uint64_t start = 0; start < packing.row.bytes; ++start)
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

// Whether bits that no sample has are in use, beyond what a header or padding between lines does.
bool uses_unused_bits(const Dump& dump, uint64_t start, uint64_t pitch, const Packing& packing) {
    constexpr uint64_t most_lines = 16, usual = 50;
    if (!packing.has_unused_bits()) return false;
    const size_t bytes = packing.row.bytes;
    const uint64_t lines = dump.known > start ? (dump.known - start) / pitch : 0;
    uint64_t used = 0, groups = 0;
    for (uint64_t y = 0; y < lines; y += std::max<uint64_t>(1, lines / most_lines))
        for (uint64_t at = 0; at + bytes <= pitch; at += bytes, ++groups) {
            const uint8_t* group = &dump.bytes[start + y * pitch + at];
            for (size_t i = 0; i < bytes; ++i)
                if ((group[i] & packing.unused[i]) != 0) {
                    ++used;
                    break;
                }
        }
    return used * usual > groups;
}

// At a glance: whether no pattern can come to be proposed.
bool is_hopeless(const Dump& dump, uint64_t start, uint64_t pitch, const Packing& packing) {
    constexpr double rough = 0.75;
    const auto fits = fit_patterns(take_bands(dump, start, pitch, packing, few_bands), packing);
    return std::all_of(fits.begin(), fits.end(), [](const Fit& fit) { return fit.cost > rough; });
}

std::vector<Hypothesis> try_packing(const Dump& dump, uint64_t pitch, const Packing& packing) {
    std::vector<Hypothesis> kept;
    for (const uint64_t start : starts(dump, pitch, packing)) {
        if (is_hopeless(dump, start, pitch, packing)) continue;
        if (uses_unused_bits(dump, start, pitch, packing)) continue;
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
bool explains(const Hypothesis& better, const Hypothesis& h, uint64_t known) {
    const uint64_t lines = std::max<uint64_t>(1, (h.pitch + better.pitch / 2) / better.pitch);
    const uint64_t straight = lines * better.pitch;
    const uint64_t off = std::max(h.pitch, straight) - std::min(h.pitch, straight);
    if (off * 50 > better.pitch || h.pitch == better.pitch) return false;
    // A few long lines are soon smooth by chance.
    const double chance = known / h.pitch < 32 ? 1.6 : 1;
    if (lines > few_lines) return better.cost < chance * h.cost;
    return lines == 1 ? better.cost <= h.cost : better.cost < 1.3 * h.cost + 0.02;
}

// The same samples by a packing that has some of their bits unused, and finds these clear.
bool has_clear_bits(const Hypothesis& h, const Hypothesis& better) {
    const raw::Packing &row = h.packing->row, &other = better.packing->row;
    return better.packing->has_unused_bits() && other.bits < row.bits && h.pitch == better.pitch &&
           h.start == better.start && h.pattern == better.pattern && row.group == other.group &&
           row.bytes == other.bytes && row.order == other.order &&
           std::equal(row.high, row.high + row.samples, other.high);
}

// Luminance in the high bytes of words makes them smooth, whatever the low bytes are. In words of
// one sample these are not smooth.
bool are_luminance(const Hypothesis& h, const Hypothesis& better) {
    constexpr double smooth = 0.4;
    const bool yuv =
        better.pattern == Pattern::luma_first || better.pattern == Pattern::chroma_first;
    return yuv && better.cost < smooth && h.packing->is_words() && h.pitch == better.pitch;
}

bool explained(const Hypothesis& h, const std::vector<Hypothesis>& all, uint64_t known) {
    return std::any_of(all.begin(), all.end(), [&](const Hypothesis& other) {
        return explains(other, h, known) || has_clear_bits(h, other) || are_luminance(h, other);
    });
}

}  // namespace

double cost_at(const Dump& dump, const Hypothesis& h, uint64_t start) {
    if (uses_unused_bits(dump, start, h.pitch, *h.packing)) return 1;
    for (const Fit& fit : fit_patterns(take_bands(dump, start, h.pitch, *h.packing), *h.packing))
        if (fit.pattern == h.pattern) return fit.cost;
    return 1;
}

std::vector<Hypothesis> likely_hypotheses(const Dump& dump) {
    std::vector<Hypothesis> all, kept;
    for (const uint32_t pitch : likely_pitches(dump))
        for (const Packing& packing : packings)
            for (const Hypothesis& found : try_packing(dump, pitch, packing)) all.push_back(found);
    std::stable_sort(all.begin(), all.end(),
                     [](const Hypothesis& a, const Hypothesis& b) { return a.cost < b.cost; });
    for (const Hypothesis& h : all)
        if (kept.size() < most_kept && !explained(h, all, dump.known)) kept.push_back(h);
    return kept;
}

}  // namespace trv::tool::guess
