#include "image/bayer/frame.h"

#include "image/bayer/rule.h"

namespace trv::bayer {
namespace {

LineKind kind_of(const Mosaic& mosaic, uint32_t y) {
    const bool odd = y % 2 != 0;
    return {mosaic.first_line.green_first != odd, mosaic.first_line.row_is_red != odd};
}

Lines line_at(const Image& image, uint32_t y) {
    const uint8_t* line = image.source + size_t{image.source_step} * y;
    const uint8_t* above = y == 0 ? line + image.source_step : line - image.source_step;
    const uint8_t* below = y + 1 == image.height ? above : line + image.source_step;
    return {above,
            line,
            below,
            image.destination + size_t{image.destination_step} * y,
            (image.width - 1) / 2,
            image.shift,
            image.memory};
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

// The levels below AVX-512 store whole pixels, pad included as they found it. The very last pad
// byte of a picture may lie in memory that nobody may touch, so its pair is done one pixel at a
// time.
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
    const Mosaic& mosaic;
    const Spans& spans;
    Depth depth;
    SpanLayout layout;

    bool is_edge(uint32_t y) const { return y == 0 || y + 1 == image.height; }

    template <typename Sample, typename Layout, typename Rule>
    void run_line(uint32_t y, SpanRule rule) const {
        using End = Ends<Sample, Layout, Rule>;
        const LineKind kind = kind_of(mosaic, y);
        const Lines line = line_at(image, y);
        End::first(line, kind, y == 0 || (mosaic.is_phase_b && y % 2 != 0));
        const Span span = spans.get(depth, layout, rule, kind);
        if (y + 1 < image.height)
            span(line);
        else
            run_last_pairs<Layout>(line, span, scalar::bayer_spans.get(depth, layout, rule, kind),
                                   sizeof(Sample));
        if (image.width % 2 == 0) End::last(line, kind);
    }

    template <typename Sample, typename Layout>
    void run_nearest() const {
        for (uint32_t y = 0; y < image.height; ++y) run_line<Sample, Layout, Nearest>(y, nearest);
    }

    // Means and medians differ between four neighbours only, which no end of a line has.
    template <typename Sample, typename Layout>
    void run_means(SpanRule rule) const {
        for (uint32_t y = 0; y < image.height; ++y)
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

void convert_frame(const Image& image, const Mosaic& mosaic, const Spans& spans, Depth depth,
                   SpanLayout layout, Method method) {
    const Walk walk{image, mosaic, spans, depth, layout};
    if (depth == depth8)
        walk.run_layout<uint8_t>(method);
    else
        walk.run_layout<uint16_t>(method);
}

}  // namespace trv::bayer
