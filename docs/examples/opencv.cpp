// A mosaic in an OpenCV matrix, demosaiced into a matrix; no pixel is copied on the way.
#include <cstdio>
#include <opencv2/core.hpp>

#include <trvil/opencv.hpp>

int main() try {
    cv::Mat raw(480, 640, CV_16UC1, cv::Scalar(512));  // a flat grey of 10 bits
    auto mosaic = trvil::wrap(raw, trvil::Format::BAY10_A);
    const cv::Mat picture = trvil::matrix(trvil::convert(mosaic, trvil::Format::BGR24));

    const cv::Scalar mean = cv::mean(picture);
    std::printf("%d x %d, mean blue %.0f, green %.0f, red %.0f\n", picture.cols, picture.rows,
                mean[0], mean[1], mean[2]);
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
