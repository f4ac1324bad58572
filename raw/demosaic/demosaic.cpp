#include "raw/demosaic/demosaic.h"

#include "image/bayer/walk.h"
#include "image/dispatch/run.h"
#include "raw/demosaic/gradient.h"
#include "raw/demosaic/words.h"

namespace trv::raw {
namespace {

using bayer::Depth;
using bayer::Image;
using bayer::LineKind;

struct WordTable {
    const DemosaicSpans& spans;
    Depth depth;

    bayer::Span get(bayer::SpanRule rule, LineKind kind) const {
        return spans.words[depth][rule][kind.green_first][kind.row_is_red];
    }
    bayer::Span plain(bayer::SpanRule rule, LineKind kind) const {
        return WordTable{scalar::demosaic_spans, depth}.get(rule, kind);
    }
};

// The place that stands for place i of `count`, at least 2: what lies beyond an end is its mirror
// image, the outermost sample itself not repeated, so that the colours of places stay.
ptrdiff_t mirrored(ptrdiff_t i, size_t count) {
    const auto last = static_cast<ptrdiff_t>(count) - 1;
    while (i < 0 || i > last) i = i < 0 ? -i : 2 * last - i;
    return i;
}

GradientLayout gradient_layout(const Format& destination) {
    return destination.stored == 48   ? three_words
           : destination.stored == 32 ? four_bytes
                                      : three_bytes;
}

class GradientWalk {
  public:
    GradientWalk(const DemosaicSpans& spans, const Image& image, const bayer::Mosaic& mosaic,
                 GradientLayout layout)
        : spans_(spans), image_(image), mosaic_(mosaic), layout_(layout) {}

    void make_line(uint32_t y) const {
        const GradientLines line = line_at(y);
        const LineKind kind = mosaic_.kind_of(y);
        switch (layout_) {
            case three_bytes:
                return make_depth<layout::Bgr24>(line, kind);
            case four_bytes:
                return make_depth<layout::Bgrx32>(line, kind);
            default:
                return make_depth<layout::Bgr48>(line, kind);
        }
    }

  private:
    // All pixels of the line.
    GradientLines line_at(uint32_t y) const {
        GradientLines line{};
        const ptrdiff_t stride = image_.source_stride;
        for (int i = 0; i < 5; ++i)
            line.line[i] = image_.source + stride * mirrored(ptrdiff_t{y} + i - 2, image_.height);
        line.out = image_.destination + size_t{image_.destination_stride} * y;
        line.count = image_.width;
        line.most = (1u << image_.bits) - 1;
        line.shift = layout_ == three_words ? 0 : image_.bits - 8;
        line.memory = image_.memory;
        return line;
    }

    template <typename Layout>
    void make_depth(const GradientLines& line, LineKind kind) const {
        if (image_.bits == 8)
            make_line<uint8_t, Layout>(line, kind, bayer::depth8);
        else
            make_line<uint16_t, Layout>(line, kind, bayer::depth16);
    }

    template <typename Sample, typename Layout>
    void make_line(const GradientLines& line, LineKind kind, Depth depth) const {
        const size_t inner = line.count < 4 ? 0 : (line.count - 4) & ~size_t{1};
        GradientLines most = line;
        for (const uint8_t*& at : most.line) at += 2 * sizeof(Sample);
        most.out += 2 * Layout::bytes;
        most.count = inner;
        if (inner != 0) spans_.gradient[depth][layout_][kind.green_first][kind.row_is_red](most);
        make_ends<Sample, Layout>(line, kind, inner);
    }

    template <typename Sample, typename Layout>
    static void make_ends(const GradientLines& line, LineKind kind, size_t inner) {
        for (size_t x = 0; x < line.count; x = x + 1 == 2 ? x + 1 + inner : x + 1) {
            GradientWindow<Sample> window{line.line, {}};
            for (int i = 0; i < 5; ++i)
                window.column[i] = mirrored(static_cast<ptrdiff_t>(x) + i - 2, line.count);
            store_gradient<Sample, Layout>(window, line, kind.green_first == (x % 2 == 0),
                                           kind.row_is_red, line.out + x * Layout::bytes);
        }
    }

    const DemosaicSpans& spans_;
    const Image& image_;
    const bayer::Mosaic& mosaic_;
    GradientLayout layout_;
};

void make_words(const Level& level, const Image& image, const bayer::Mosaic& mosaic,
                bayer::Method method, LineRange lines) {
    const Depth depth = image.bits == 8 ? bayer::depth8 : bayer::depth16;
    const bayer::Walk<WordTable> walk{image, mosaic, {*level.demosaic, depth}, 0, lines};
    if (depth == bayer::depth8)
        walk.run_method<uint8_t, layout::Bgr48>(method);
    else
        walk.run_method<uint16_t, layout::Bgr48>(method);
}

}  // namespace

void demosaic_lines(const Level& level, const Demosaic& demosaic, const Image& image,
                    LineRange lines) {
    if (image.width < 2 || image.height < 2) return;
    const Format& destination = *demosaic.destination;
    Image whole = image;
    // 16-bit samples are stepped in whole words.
    if (image.bits != 8) whole.source_stride &= ~1u;
    const uint64_t written = uint64_t{image.destination_stride} * image.height;
    whole.memory = bayer::memory_of(*level.image.memory, written,
                                    written + uint64_t{image.source_stride} * image.height,
                                    has(destination, Channel::X));
    const bayer::Mosaic mosaic =
        bayer::mosaic_of(demosaic.phase, destination.fields[0].channel == Channel::R);
    if (demosaic.method != method_gradient)
        return make_words(level, whole, mosaic, demosaic.method, lines);
    const GradientWalk walk(*level.demosaic, whole, mosaic, gradient_layout(destination));
    for (uint32_t y = lines.first; y < lines.last; ++y) walk.make_line(y);
}

}  // namespace trv::raw
