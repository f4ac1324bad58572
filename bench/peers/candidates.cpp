#include "bench/peers/candidate.h"

#ifdef TRV_PEER_OPENCV
#include <opencv2/core/version.hpp>
#endif
#ifdef TRV_PEER_YUV
#include <libyuv/version.h>
#endif

namespace peers {

Candidates peers_of(const Task& task) {
    Candidates list;
    add_plain(task, &list);
#ifdef TRV_PEER_OPENCV
    add_opencv(task, &list);
#endif
#ifdef TRV_PEER_YUV
    add_yuv(task, &list);
#endif
#ifdef TRV_PEER_SWSCALE
    add_swscale(task, &list);
#endif
#ifdef TRV_PEER_DC1394
    add_dc1394(task, &list);
#endif
    return list;
}

std::vector<Version> versions() {
    std::vector<Version> list;
    list.push_back(
        {"plain", std::string(TRV_COMPILER) + " " + __VERSION__ + ", -O3 -march=native"});
#ifdef TRV_PEER_OPENCV
    list.push_back({"OpenCV", CV_VERSION});
#endif
#ifdef TRV_PEER_YUV
    list.push_back({"libyuv", std::to_string(LIBYUV_VERSION)});
#endif
#ifdef TRV_PEER_SWSCALE
    list.push_back({"swscale", TRV_PEER_SWSCALE_VERSION});
#endif
#ifdef TRV_PEER_DC1394
    list.push_back({"dc1394", TRV_PEER_DC1394_VERSION});
#endif
    return list;
}

}  // namespace peers
