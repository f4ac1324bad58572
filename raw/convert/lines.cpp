#include "raw/convert/lines.h"

#include "image/dispatch/run.h"
#include "raw/demosaic/decision.h"

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

}  // namespace trv::raw
