#include "image/bayer/frame.h"

#include "image/bayer/rule.h"

namespace trv::bayer {
namespace {

struct Mosaic {
    LineKind first_line;
    // Deliberate: in phase B the blue sites that start lines 1, 3, 5, ... copy green from their
    // right neighbour, where every other phase takes it from above.
    bool is_phase_b;
};

// Red and blue change places: the same loops serve two layouts.
bool is_exchanged(const Format& output) {
    return output.fields[0].channel == Channel::R;
}

SpanLayout span_layout(const Format& output) {
    return output.stored == 16 ? rgb16 : output.stored == 24 ? bgr24 : bgrx32;
}

Mosaic mosaic_of(const Kernel& kernel) {
    const bool first_row_red = kernel.phase == Phase::A || kernel.phase == Phase::B;
    return {{kernel.phase == Phase::B || kernel.phase == Phase::C,
             first_row_red != is_exchanged(format_of(kernel.output))},
            kernel.phase == Phase::B};
}

LineKind kind_of(const Mosaic& mosaic, uint32_t y) {
    const bool odd = y % 2 != 0;
    return {mosaic.first_line.green_first != odd, mosaic.first_line.row_is_red != odd};
}

template <typename Sample, typename Layout, typename Rule>
struct Ends {
    static void first(const Lines& line, LineKind kind, bool green_from_right) {
        const Window<Sample> window{line, 0};
        store<Layout>(line.out,
                      kind.green_first ? Rule::first_green(window)
                                       : Rule::first_colour(window, green_from_right),
                      kind.row_is_red);
    }

    // Pixel width - 1 of an even width: an odd place, so green where the line starts with a colour.
    static void last(const Lines& line, LineKind kind) {
        const size_t x = line.pairs * 2 + 1;
        const Window<Sample> window{line, x};
        store<Layout>(line.out + x * Layout::bytes,
                      kind.green_first ? Rule::last_colour(window) : Rule::last_green(window),
                      kind.row_is_red);
    }
};

// Levels without masked stores store whole pixels, pad included as they found it. The very last pad
// byte may lie in memory that nobody may touch, or be the next line's, which another call makes: so
// its pair is done one pixel at a time.
template <typename Layout>
void run_last_pairs(const Lines& line, Span span, Span plain, size_t sample_bytes) {
    if (Layout::bytes != 4 || line.pairs == 0) return span(line);
    const size_t done = line.pairs - 1;
    Lines most = line, last = line;
    most.pairs = done;
    span(most);
    last.above += done * 2 * sample_bytes;
    last.line += done * 2 * sample_bytes;
    last.below += done * 2 * sample_bytes;
    last.out += done * 2 * Layout::bytes;
    last.pairs = 1;
    plain(last);
}

struct Walk {
    const Image& image;
    const Mosaic mosaic;
    const Spans& spans;
    Depth depth;
    SpanLayout layout;
    LineRange lines;

    Lines line_at(uint32_t y) const {
        const size_t step = image.source_stride;
        const uint8_t* line = image.source + step * y;
        const uint8_t* above = y == 0 ? line + step : line - step;
        const uint8_t* below = y + 1 == image.height ? above : line + step;
        return {above,
                line,
                below,
                image.destination + size_t{image.destination_stride} * y,
                (image.width - 1) / 2,
                image.bits - 8,
                image.memory};
    }

    bool is_edge(uint32_t y) const { return y == 0 || y + 1 == image.height; }

    template <typename Sample, typename Layout, typename Rule>
    void run_line(uint32_t y, SpanRule rule) const {
        using End = Ends<Sample, Layout, Rule>;
        const LineKind kind = kind_of(mosaic, y);
        const Lines line = line_at(y);
        End::first(line, kind, y == 0 || (mosaic.is_phase_b && y % 2 != 0));
        const Span span = spans.get(depth, layout, rule, kind);
        if (y + 1 < lines.last)
            span(line);
        else
            run_last_pairs<Layout>(line, span, scalar::bayer_spans.get(depth, layout, rule, kind),
                                   sizeof(Sample));
        if (image.width % 2 == 0) End::last(line, kind);
    }

    template <typename Sample, typename Layout>
    void run_nearest() const {
        for (uint32_t y = lines.first; y < lines.last; ++y)
            run_line<Sample, Layout, Nearest>(y, nearest);
    }

    // Means and medians differ between four neighbours only, which no end of a line has.
    template <typename Sample, typename Layout>
    void run_means(SpanRule rule) const {
        for (uint32_t y = lines.first; y < lines.last; ++y)
            if (is_edge(y))
                run_line<Sample, Layout, EdgeMeans>(y, edge_means);
            else
                run_line<Sample, Layout, Means>(y, rule);
    }

    template <typename Sample, typename Layout>
    void run_method(Method method) const {
        if (method == dup) return run_nearest<Sample, Layout>();
        run_means<Sample, Layout>(method == ave ? means : medians);
    }

    template <typename Sample>
    void run_layout(Method method) const {
        switch (layout) {
            case rgb16:
                return run_method<Sample, layout::Rgb16>(method);
            case bgr24:
                return run_method<Sample, layout::Bgr24>(method);
            default:
                return run_method<Sample, layout::Bgrx32>(method);
        }
    }
};

}  // namespace

void convert_lines(const Spans& spans, const Kernel& kernel, const Image& image, LineRange lines) {
    // The pair count of smaller pictures would wrap.
    if (image.width < 2 || image.height < 2) return;
    const bool deep = kernel.input == Input::BAYn;
    const Format& output = format_of(kernel.output);
    Image whole = image;
    // 16-bit samples and 16-bit pixels are stepped in whole words.
    if (deep) whole.source_stride &= ~1u;
    if (output.stored == 16) whole.destination_stride &= ~1u;
    const Walk walk{whole, mosaic_of(kernel), spans, deep ? depth16 : depth8, span_layout(output),
                    lines};
    if (deep)
        walk.run_layout<uint16_t>(kernel.method);
    else
        walk.run_layout<uint8_t>(kernel.method);
}

}  // namespace trv::bayer
