// How a walk over a mosaic goes, whatever its samples become: the kinds of its lines, the ends of a
// line by the plain rules, its pairs by a table of spans.
#pragma once

#include "image/bayer/frame.h"
#include "image/bayer/rule.h"

namespace trv::bayer {

struct Mosaic {
    LineKind first_line;
    // Deliberate: in phase B the blue sites that start lines 1, 3, 5, ... copy green from their
    // right neighbour, where every other phase takes it from above.
    bool is_phase_b;

    LineKind kind_of(uint32_t y) const {
        const bool odd = y % 2 != 0;
        return {first_line.green_first != odd, first_line.row_is_red != odd};
    }
};

// `exchanged`: red and blue change places, so that the same loops serve two layouts.
inline Mosaic mosaic_of(Phase phase, bool exchanged) {
    const bool first_row_red = phase == Phase::A || phase == Phase::B;
    return {{phase == Phase::B || phase == Phase::C, first_row_red != exchanged},
            phase == Phase::B};
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

// `Table` has the spans of a level, get(rule, kind), and the scalar ones, plain(rule, kind), for
// the samples and the layout that the walk is run with. Pictures have 2 x 2 pixels at least.
template <typename Table>
struct Walk {
    const Image& image;
    const Mosaic mosaic;
    const Table spans;
    unsigned shift;  // by which samples become colours
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
                shift,
                image.memory};
    }

    bool is_edge(uint32_t y) const { return y == 0 || y + 1 == image.height; }

    template <typename Sample, typename Layout, typename Rule>
    void run_line(uint32_t y, SpanRule rule) const {
        using End = Ends<Sample, Layout, Rule>;
        const LineKind kind = mosaic.kind_of(y);
        const Lines line = line_at(y);
        End::first(line, kind, y == 0 || (mosaic.is_phase_b && y % 2 != 0));
        const Span span = spans.get(rule, kind);
        if (y + 1 < lines.last)
            span(line);
        else
            run_last_pairs<Layout>(line, span, spans.plain(rule, kind), sizeof(Sample));
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
};

}  // namespace trv::bayer
