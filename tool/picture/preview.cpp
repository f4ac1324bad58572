#include "tool/picture/preview.h"

#include "tool/cli/error.h"
#include "tool/commands/conversion.h"
#include "tool/commands/path.h"
#include "tool/picture/balance.h"
#include "tool/picture/samples.h"
#include "tool/picture/sheet.h"

namespace trv::tool {
namespace {

// A guess that is wrong may leave nothing to balance; the picture is worth seeing all the same.
Gains gains_for(const Histogram& histogram, const SampleLayout& layout, bool mosaic) {
    const Tuning plain{Tuning::White::off, {1, 1, 1}, true};
    if (!mosaic) return choose_gains(plain, histogram, layout);
    try {
        return choose_gains({Tuning::White::grey, {1, 1, 1}, true}, histogram, layout);
    } catch (const Failure&) {
        return choose_gains(plain, histogram, layout);
    }
}

void tune(const Frame& frame, const SampleLayout& layout) {
    const bool mosaic = frame.geometry().format->family == Family::bayer;
    apply_gains(gains_for(take_histogram(frame, layout), layout, mosaic), frame, layout);
}

}  // namespace

Frame unpacked(const Frame& frame) {
    const Format& format = *frame.geometry().format;
    if (is_packed(format))
        for (const Format* to : reachable(format))
            if (to->family == format.family && sample_layout(*to, Phase::A))
                return convert(frame.tightened(), {&format, to}, {});
    return frame.tightened();
}

std::optional<Frame> preview(const Frame& frame, Phase phase, uint32_t most_width,
                             uint32_t most_height) {
    const Demosaic how{default_method, phase};
    const auto path = find_chain(*frame.geometry().format, format_of(Code::BGR24), how);
    if (!path) return std::nullopt;
    Frame picture = frame.tightened();
    bool tuned = false;
    for (size_t i = 0; i < path->size(); ++i) {
        if (i > 0) picture = convert(std::move(picture), {(*path)[i - 1], (*path)[i]}, how);
        const auto layout = sample_layout(*(*path)[i], phase);
        if (layout && !tuned) tune(picture, *layout);
        tuned = tuned || layout.has_value();
    }
    return shrunk(picture, most_width, most_height);
}

}  // namespace trv::tool
