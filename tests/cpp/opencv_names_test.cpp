// The table of docs/opencv.md: what OpenCV's names of conversions mean, by what they do.
#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

#include "trvil/opencv.hpp"

namespace {

using trvil::Format;

struct Pair {
    int code;          // of OpenCV
    const char* name;  // of the same, as the raw library reads it
    Format bytes, words;
};
constexpr Pair pairs[] = {
    {cv::COLOR_BayerBG2BGR, "opencv:BayerBG", Format::BAY8_A, Format::BAY16_A},
    {cv::COLOR_BayerGB2BGR, "opencv:BayerGB", Format::BAY8_B, Format::BAY16_B},
    {cv::COLOR_BayerGR2BGR, "opencv:BayerGR", Format::BAY8_C, Format::BAY16_C},
    {cv::COLOR_BayerRG2BGR, "opencv:BayerRG", Format::BAY8_D, Format::BAY16_D}};

// The largest difference beside the border, where OpenCV repeats the pixels next to it.
double difference(const cv::Mat& mosaic, int code, Format format, Format colour) {
    cv::Mat theirs, ours;
    cv::demosaicing(mosaic, theirs, code);
    trvil::convert(trvil::RawPicture(trvil::wrap(mosaic, format)), ours, colour,
                   trvil::Method::ave);
    const cv::Rect inside(1, 1, mosaic.cols - 2, mosaic.rows - 2);
    return cv::norm(theirs(inside), ours(inside), cv::NORM_INF);
}

TEST(OpenCvNames, AMosaicOfTheSamePhaseIsAtMostOneApart) {
    cv::Mat bytes(48, 66, CV_8UC1), words(48, 66, CV_16UC1);
    cv::randu(bytes, 0, 256);
    cv::randu(words, 0, 65536);
    for (const Pair& pair : pairs) {
        EXPECT_LE(difference(bytes, pair.code, pair.bytes, Format::BGR24), 1) << pair.name;
        EXPECT_LE(difference(words, pair.code, pair.words, Format::BGR48), 1) << pair.name;
        TRW_Reading reading{};
        reading.size = sizeof reading;
        ASSERT_EQ(TRW_FindName(pair.name, &reading), TRV_STATUS_OK);
        EXPECT_EQ(trvil::Buffer::create(2, 2, pair.bytes).phase(), trvil::Phase{reading.phase})
            << pair.name;
    }
    EXPECT_EQ(int{cv::COLOR_BayerRGGB2BGR}, int{cv::COLOR_BayerBG2BGR});
}

}  // namespace
