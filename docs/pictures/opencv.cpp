// A mosaic of 8 bits on standard input becomes 24-bit BGR on standard output, by OpenCV: what the
// table of docs/demosaic.md has beside ours.
//
// usage: opencv WIDTH HEIGHT bilinear|vng|edge-aware
#include <cstdio>
#include <cstdlib>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <string>

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    const std::string method = argv[3];
    const int code = method == "vng"          ? cv::COLOR_BayerRGGB2BGR_VNG
                     : method == "edge-aware" ? cv::COLOR_BayerRGGB2BGR_EA
                                              : cv::COLOR_BayerRGGB2BGR;
    const cv::Mat mosaic(std::atoi(argv[2]), std::atoi(argv[1]), CV_8U);
    if (std::fread(mosaic.data, 1, mosaic.total(), stdin) != mosaic.total()) return 1;
    cv::Mat picture;
    cv::cvtColor(mosaic, picture, code);
    return std::fwrite(picture.data, 3, picture.total(), stdout) == picture.total() ? 0 : 1;
}
