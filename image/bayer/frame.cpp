#include "image/bayer/frame.h"

#include "image/bayer/walk.h"

namespace trv::bayer {
namespace {

// Red and blue change places: the same loops serve two layouts.
bool is_exchanged(const Format& output) {
    return output.fields[0].channel == Channel::R;
}

SpanLayout span_layout(const Format& output) {
    return output.stored == 16 ? rgb16 : output.stored == 24 ? bgr24 : bgrx32;
}

struct Table {
    const Spans& spans;
    Depth depth;
    SpanLayout layout;

    Span get(SpanRule rule, LineKind kind) const { return spans.get(depth, layout, rule, kind); }
    Span plain(SpanRule rule, LineKind kind) const {
        return scalar::bayer_spans.get(depth, layout, rule, kind);
    }
};

template <typename Sample>
void run_layout(const Walk<Table>& walk, Method method) {
    switch (walk.spans.layout) {
        case rgb16:
            return walk.run_method<Sample, layout::Rgb16>(method);
        case bgr24:
            return walk.run_method<Sample, layout::Bgr24>(method);
        default:
            return walk.run_method<Sample, layout::Bgrx32>(method);
    }
}

}  // namespace

void convert_lines(const Spans& spans, const Kernel& kernel, Image& image, LineRange lines) {
    // The pair count of smaller pictures would wrap.
    if (image.width < 2 || image.height < 2) return;
    const bool deep = kernel.input == Input::BAYn;
    const Format& output = format_of(kernel.output);
    // 16-bit samples and 16-bit pixels are stepped in whole words.
    if (deep) image.source_stride &= ~1u;
    if (output.stored == 16) image.destination_stride &= ~1u;
    const Table table{spans, deep ? depth16 : depth8, span_layout(output)};
    const Walk<Table> walk{image, mosaic_of(kernel.phase, is_exchanged(output)), table,
                           image.bits - 8, lines};
    if (deep)
        run_layout<uint16_t>(walk, kernel.method);
    else
        run_layout<uint8_t>(walk, kernel.method);
}

}  // namespace trv::bayer
