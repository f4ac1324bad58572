#include "tool/guess/proposal.h"
#include "tool/guess/lines.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "tool/cli/catalogue.h"
#include "tool/cli/text.h"
#include "tool/guess/naming.h"
#include "tool/guess/phase.h"
#include "tool/picture/preview.h"

namespace trv::tool::guess {
namespace {

constexpr double worst_cost = 0.55;    // above it neighbours are hardly more alike than others
constexpr double least_of_best = 0.5;  // of the best score
constexpr uint64_t longest_side = 1000000;

Depth measure_depth(const Dump& dump, const Hypothesis& h, const Lines& lines) {
    std::vector<uint64_t> counts(h.packing->row.bits + 1u);
    uint32_t all = 0;
    uint64_t total = 0;
    const uint64_t samples = lines.width * per_pixel(h.pattern);
    for (uint64_t y = 0; y < lines.height; ++y) {
        const uint64_t first = lines.skip + y * h.pitch;
        if (first + h.packing->bytes_of(samples) > dump.known) break;
        for_each_sample(*h.packing, &dump.bytes[first], 0, samples, [&](uint32_t value) {
            ++counts[static_cast<size_t>(std::bit_width(value))];
            all |= value;
        });
        total += samples;
    }
    Depth depth{h.packing->row.bits, all == 0 ? 0 : static_cast<uint32_t>(std::countr_zero(all))};
    const uint64_t few = total / 100000;
    for (uint64_t above = 0; depth.top > 0 && above + counts[depth.top] <= few; --depth.top)
        above += counts[depth.top];
    return depth;
}

std::string per_cent(double part) {
    return text(std::lround(part * 100), " %");
}

std::string lines_reason(const Hypothesis& h, const Lines& lines) {
    std::vector<std::string> words = {text("lines of ", h.pitch, " bytes")};
    if (lines.padding != 0) words.push_back(text(lines.padding, " of them padding"));
    if (lines.skip != 0) words.push_back(text(lines.skip, " bytes before the first"));
    if (lines.trailing != 0) words.push_back(text(lines.trailing, " after the last"));
    if (lines.skip + lines.padding + lines.trailing == 0)
        words.push_back(text(lines.height, " of them are the whole dump"));
    return list(words);
}

std::string depth_reason(const Hypothesis& h, const Depth& depth) {
    const std::string words = h.packing->words != nullptr
                                  ? h.packing->words
                                  : text("packed as ", list(names_of(h.packing->row), " or "));
    std::string reason = text(words, ", ", depth.top, " bits in use");
    if (h.packing->has_unused_bits()) reason += ", those between samples are clear";
    if (depth.silent != 0 && depth.top > depth.silent)
        reason += text(", the lowest ", depth.silent, " never set");
    return reason;
}

std::string reason_of(const Hypothesis& h, const Lines& lines, const Depth& depth) {
    return text(lines_reason(h, lines), "; ", depth_reason(h, depth),
                "; neighbours of one colour differ by ", per_cent(h.cost),
                " of what any two samples do");
}

double score_of(const Hypothesis& h, const Lines& lines) {
    double score = 100 * (1 - h.cost);
    // What has to be explained away makes it less likely.
    if (lines.trailing != 0) score *= 0.97;
    if (lines.skip != 0) score *= lines.edge_seen ? 0.99 : 0.96;
    if (lines.width % 2 != 0) score *= 0.97;
    return score;
}

void refuse_phases(std::vector<Proposal>* mosaics, const Diagonals& diagonals) {
    if (!tells(diagonals)) return;
    for (Proposal& p : *mosaics) {
        if (fits(diagonals, p.phase)) {
            p.reason += text("; green fits on the diagonal of ", phase_name(p.phase));
        } else {
            p.score *= 0.4;
            p.reason += text("; but the diagonal of ", phase_name(p.phase), " is not green");
        }
    }
}

std::vector<Proposal> judge_phases(const Dump& dump, std::vector<Proposal> mosaics) {
    if (mosaics.empty() || mosaics.front().phase == Phase::none) return mosaics;
    const auto mosaic = read_as(dump, mosaics.front());
    if (mosaic) refuse_phases(&mosaics, compare_diagonals(unpacked(*mosaic)));
    return mosaics;
}

// Of the samples that a reading makes of words.
uint32_t used_bits(const Reading& reading, const Depth& depth) {
    const uint32_t above = 16 - std::min<uint32_t>(16, reading.format->significant);
    const bool shifted = reading.packing != 0 && depth.top > reading.format->significant;
    return shifted ? depth.top - above : depth.top;
}

std::vector<std::string> other_names(const Hypothesis& h, const Reading& reading) {
    if (h.packing->words != nullptr) return {};
    std::vector<std::string> names = names_of(h.packing->row);
    if (reading.packing != 0) std::erase(names, packing_name(reading.packing));
    return names;
}

// Groups of samples that begin elsewhere than lines do show a picture that a reader will not see.
bool begins_with_a_group(const Hypothesis& h, const Lines& lines) {
    return (lines.skip % h.pitch + h.pitch - h.start % h.pitch) % h.pitch == 0;
}

std::vector<Proposal> proposals_of(const Dump& dump, Hypothesis h) {
    const Lines lines = find_lines(dump, h);
    if (!begins_with_a_group(h, lines)) h.cost = cost_at(dump, h, lines.skip);
    if (h.cost > worst_cost) return {};
    if (lines.width < 8 || lines.height < 4 || lines.width > longest_side ||
        lines.height > longest_side)
        return {};
    const Depth depth = measure_depth(dump, h, lines);
    std::vector<Proposal> result;
    for (const Reading& reading : readings(h, depth, dump, lines.skip)) {
        Proposal p{};
        p.format = reading.format;
        p.packing = reading.packing;
        p.phase = reading.phase;
        p.width = lines.width;
        p.height = lines.height;
        p.stride = h.pitch;
        p.skip = lines.skip;
        p.trailing = lines.trailing;
        p.swapped = reading.swapped;
        p.used_bits = used_bits(reading, depth);
        p.score = score_of(h, lines) * reading.weight;
        p.reason = reason_of(h, lines, depth);
        p.other_names = other_names(h, reading);
        if (!reading.remark.empty()) p.reason += "; " + reading.remark;
        result.push_back(std::move(p));
    }
    return judge_phases(dump, std::move(result));
}

bool same(const Proposal& a, const Proposal& b) {
    return a.format == b.format && a.packing == b.packing && a.phase == b.phase &&
           a.width == b.width && a.skip == b.skip && a.swapped == b.swapped;
}

}  // namespace

Geometry Proposal::geometry() const {
    Geometry g = tight(*format, static_cast<uint32_t>(width), static_cast<uint32_t>(height));
    g.stride = static_cast<uint32_t>(stride);
    g.packing = packing;
    return g;
}

std::vector<Proposal> propose(const Dump& dump, size_t most) {
    std::vector<Proposal> all;
    for (const Hypothesis& h : likely_hypotheses(dump)) {
        if (h.cost > worst_cost) continue;
        for (Proposal& p : proposals_of(dump, h))
            if (std::none_of(all.begin(), all.end(), [&](const auto& q) { return same(p, q); }))
                all.push_back(std::move(p));
    }
    std::stable_sort(all.begin(), all.end(),
                     [](const Proposal& a, const Proposal& b) { return a.score > b.score; });
    while (!all.empty() && (all.size() > most || all.back().score < all[0].score * least_of_best))
        all.pop_back();
    return all;
}

std::optional<Frame> read_as(const Dump& dump, const Proposal& p) {
    const Geometry g = p.geometry();
    if (p.skip + g.bytes() > dump.known) return std::nullopt;
    Frame frame(bytes_of(g));
    uint8_t* to = frame.line(0);
    std::memcpy(to, &dump.bytes[p.skip], g.bytes());
    if (p.swapped)
        for (uint64_t i = 0; i + 1 < g.bytes(); i += 2) std::swap(to[i], to[i + 1]);
    return g.packing == 0 ? std::move(frame) : unpack(frame, g);
}

}  // namespace trv::tool::guess
