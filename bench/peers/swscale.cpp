// libswscale: one context per conversion, no scaling. It takes part wherever it knows both formats.
extern "C" {
#include <libavutil/log.h>
#include <libavutil/pixfmt.h>
#include <libswscale/swscale.h>
}

#include <memory>

#include "bench/peers/candidate.h"

namespace peers {
namespace {

AVPixelFormat known(Code code) {
    switch (code) {
        case Code::BAY8:
            return AV_PIX_FMT_BAYER_RGGB8;
        case Code::BAY16:
            return AV_PIX_FMT_BAYER_RGGB16LE;
        case Code::Mono8:
            return AV_PIX_FMT_GRAY8;
        case Code::Mono12:
            return AV_PIX_FMT_GRAY12LE;
        case Code::Mono16:
            return AV_PIX_FMT_GRAY16LE;
        case Code::BGR24:
            return AV_PIX_FMT_BGR24;
        case Code::RGB24:
            return AV_PIX_FMT_RGB24;
        case Code::BGRX32:
            return AV_PIX_FMT_BGRA;
        case Code::RGBX32:
        case Code::RGBA32:
            return AV_PIX_FMT_RGBA;
        case Code::RGB16:
            return AV_PIX_FMT_RGB565LE;
        case Code::BGR48:
            return AV_PIX_FMT_BGR48LE;
        case Code::RGB48:
            return AV_PIX_FMT_RGB48LE;
        case Code::RGBA64:
            return AV_PIX_FMT_RGBA64LE;
        case Code::YUV422:
            return AV_PIX_FMT_YUYV422;
        default:
            return AV_PIX_FMT_NONE;
    }
}

using Context = std::shared_ptr<SwsContext>;

Context context_for(const Task& task, Size size) {
    const int width = static_cast<int>(size.width), height = static_cast<int>(size.height);
    const Context context(sws_getContext(width, height, known(task.from_code), width, height,
                                         known(task.to_code), SWS_POINT, nullptr, nullptr, nullptr),
                          sws_freeContext);
    const int* matrix = sws_getCoefficients(SWS_CS_ITU601);
    if (context) sws_setColorspaceDetails(context.get(), matrix, 1, matrix, 1, 0, 1 << 16, 1 << 16);
    return context;
}

Tolerance tolerance_of(const Task& task) {
    if (task.from().stored == 32 && task.to().stored == 32) return {};
    if (task.is_mosaic()) return {"rounding, border", 1, 2};
    if (task.from_code == Code::YUV422) return {"coefficients", 3};
    if (task.to_code == Code::BGR48)
        return {"scales to 16 bits", 1, 0, Channels{48, {{8, 8, 0}, {24, 8, 0}, {40, 8, 0}}}};
    if (task.to_code == Code::Mono16) return {"scales to 16 bits", 1, 0, Channels{16, {{8, 8, 0}}}};
    if (task.from().significant > 8) return {"rounding", 1};
    if (task.to_code == Code::BGRX32) return {"pad byte", 0};
    if (task.to_code == Code::RGB16 && task.from_code == Code::Mono8) return {"dithering", 1};
    return {};
}

}  // namespace

void add_swscale(const Task& task, Candidates* list) {
    av_log_set_level(AV_LOG_ERROR);  // it remarks on every RGB16
    if (task.is_field() || task.method == Method::dup || task.method == Method::med) return;
    if (known(task.from_code) == AV_PIX_FMT_NONE || known(task.to_code) == AV_PIX_FMT_NONE) return;
    if (!context_for(task, {64, 64})) return;
    list->push_back({"swscale", tolerance_of(task), [task](Size size) -> Run {
                         const Context context = context_for(task, size);
                         const int from =
                             static_cast<int>(trv::line_bytes(task.from(), size.width));
                         const int to = static_cast<int>(trv::line_bytes(task.to(), size.width));
                         return [=](const Job& job) {
                             const uint8_t* const source[4] = {job.from};
                             uint8_t* const destination[4] = {job.to};
                             sws_scale(context.get(), source, &from, 0,
                                       static_cast<int>(size.height), destination, &to);
                         };
                     }});
}

}  // namespace peers
