#include "raw/convert/strips.h"

#include <string.h>

#include "image/dispatch/run.h"
#include "raw/demosaic/decision.h"
#include "raw/unpack/unpack.h"

namespace trv::raw {

void convert_lines(const Level& level, const Job& job, const Decision& decision, LineRange lines) {
    if (decision.kind != RouteKind::bayer)
        return trv::convert_lines(level.image, job, decision, lines);
    bayer::Image image{};
    image.source = job.source.address;
    image.destination = job.destination.address;
    image.source_stride = job.source.stride;
    image.destination_stride = job.destination.stride;
    image.width = job.source.width;
    image.height = job.source.height;
    image.bits = decision.source->significant;
    if (is_own_demosaic(decision))
        demosaic_lines(level, demosaic_of(decision), image, lines);
    else
        bayer::convert_lines(level.image, decision.kernel, image, lines);
}

void Strips::make(LineRange band, uint8_t* memory) const {
    Strip strip{memory, d_.job.source.stride, {0, 0}};
    for (LineRange lines{band.first, band.first}; lines.last < band.last;
         lines.first = lines.last) {
        const uint32_t left = band.last - lines.first;
        lines.last = lines.first + (strip_lines_ < left ? strip_lines_ : left);
        pass(&strip, lines);
    }
}

// What becomes of a strip, stage by stage.
void Strips::pass(Strip* strip, LineRange lines) const {
    load(strip, with_neighbours(lines));
    Job job = d_.job;
    job.source.address = strip->origin();
    convert_lines(level_, job, d_.conversion, lines);
}

LineRange Strips::with_neighbours(LineRange lines) const {
    const uint32_t reach = neighbour_lines(d_.conversion), below = height_ - lines.last;
    return {lines.first < reach ? 0 : lines.first - reach,
            lines.last + (below < reach ? below : reach)};
}

// Lines that are there are moved; the others are filled, each once in a band.
void Strips::load(Strip* strip, LineRange wanted) const {
    const LineRange have = strip->lines;
    const bool has_some = have.first < have.last && wanted.first < have.last;
    const uint32_t kept = has_some ? have.last - wanted.first : 0;
    if (kept != 0) memmove(strip->memory, strip->line(wanted.first), size_t{kept} * strip->stride);
    strip->lines = wanted;
    const uint32_t width = d_.unpack.job.source.width;
    const LineRange missing{wanted.first + kept, wanted.last};
    if (missing.first < missing.last) fill(*strip, width, missing);
    if (width % 2 != 0) fill_after(*strip);
}

// Samples of the first `width` pixels of lines: unpacked, and what else is done to samples before
// their neighbours look at them.
void Strips::fill(const Strip& strip, uint32_t width, LineRange lines) const {
    Job job = d_.unpack.job;
    job.source.width = width;
    job.destination.address = strip.origin();
    job.destination.stride = strip.stride;
    unpack_lines(level_, *d_.unpack.packing, job, lines);
}

// With an odd width a conversion may look at the sample after a line: the first one of the next
// line, and after the picture, zero.
void Strips::fill_after(const Strip& strip) const {
    const uint32_t next = strip.lines.last;
    if (next == height_)
        memset(strip.line(next), 0, pixel_bytes);
    else
        fill(strip, 1, {next, next + 1});
}

}  // namespace trv::raw
