// libdc1394. It writes red first; a mosaic that is called BGGR instead of RGGB comes out blue
// first.
#include <dc1394/conversions.h>

#include "bench/peers/candidate.h"

namespace peers {
namespace {

Tolerance tolerance_of(const Task& task) {
    const bool deep = task.from().significant > 8;
    Tolerance tolerance{"rounding, border", 1, 2};
    if (task.method == Method::dup) tolerance = {"neighbours of the other side", 4, 2};
    if (deep) tolerance.why = "rounding, border, 48-bit result";
    if (deep && task.method == Method::dup) tolerance.why = "other neighbours, 48-bit result";
    if (deep) tolerance.channels = three_words(task.from().significant - 8u);
    return tolerance;
}

}  // namespace

void add_dc1394(const Task& task, Candidates* list) {
    if (!task.is_mosaic() || task.method == Method::med || task.to_code != Code::BGR24) return;
    const uint32_t bits = task.from().significant;
    const auto method =
        task.method == Method::dup ? DC1394_BAYER_METHOD_NEAREST : DC1394_BAYER_METHOD_BILINEAR;
    list->push_back({"dc1394", tolerance_of(task), [=](Size size) -> Run {
                         return [=](const Job& job) {
                             if (bits == 8)
                                 dc1394_bayer_decoding_8bit(job.from, job.to, size.width,
                                                            size.height, DC1394_COLOR_FILTER_BGGR,
                                                            method);
                             else
                                 dc1394_bayer_decoding_16bit(
                                     reinterpret_cast<const uint16_t*>(job.from),
                                     reinterpret_cast<uint16_t*>(job.to), size.width, size.height,
                                     DC1394_COLOR_FILTER_BGGR, method, bits);
                         };
                     }});
}

}  // namespace peers
