#include "bench/peers/contestant.h"
#include "image/api/convert.h"
#include "image/api/field_to_frame.h"

#if TRV_PEER_OPENCV
#include <opencv2/core/version.hpp>
#endif
#if TRV_PEER_YUV
#include <libyuv/version.h>
#endif

namespace peers {
namespace {

uint32_t bayer_method(Method method) {
    return method == Method::dup   ? TBL_BAYER_METHOD_DUP
           : method == Method::med ? TBL_BAYER_METHOD_MED
                                   : TBL_BAYER_METHOD_AVE;
}

uint32_t field_method(Method method) {
    return static_cast<uint32_t>(method) - static_cast<uint32_t>(Method::line_dup);
}

}  // namespace

Contestant ours(const Task& task, unsigned level, const std::string& name) {
    const trv::Level& table = trv::levels[level];
    if (task.is_field()) {
        const uint32_t method = field_method(task.method);
        return {name, {}, [&table, method](Size) -> Run {
                    return [&table, method](const Job& job) {
                        trv::field_to_frame(table, job.from_handle, job.to_handle, method, 1);
                    };
                }};
    }
    const uint32_t method = bayer_method(task.method);
    return {name, {}, [&table, method](Size) -> Run {
                return [&table, method](const Job& job) {
                    TBS_BufferParameterSet(job.from_handle, TBL_PARAMETER_BAYER_METHOD, method);
                    trv::convert(table, job.from_handle, job.to_handle);
                };
            }};
}

Contestants peers_of(const Task& task) {
    Contestants list;
    add_plain(task, &list);
#if TRV_PEER_OPENCV
    add_opencv(task, &list);
#endif
#if TRV_PEER_YUV
    add_yuv(task, &list);
#endif
#if TRV_PEER_SWSCALE
    add_swscale(task, &list);
#endif
#if TRV_PEER_DC1394
    add_dc1394(task, &list);
#endif
    return list;
}

std::vector<Version> versions() {
    std::vector<Version> list;
    list.push_back({"plain", "g++ -O3 -march=native"});
#if TRV_PEER_OPENCV
    list.push_back({"OpenCV", CV_VERSION});
#endif
#if TRV_PEER_YUV
    list.push_back({"libyuv", std::to_string(LIBYUV_VERSION)});
#endif
#if TRV_PEER_SWSCALE
    list.push_back({"swscale", TRV_PEER_SWSCALE_VERSION});
#endif
#if TRV_PEER_DC1394
    list.push_back({"dc1394", TRV_PEER_DC1394_VERSION});
#endif
    return list;
}

}  // namespace peers
