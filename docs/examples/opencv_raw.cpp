// Packed frames of a camera become matrices: for eyes, for measuring, and developed.
#include <cstdio>
#include <opencv2/core.hpp>

#include <trvil/opencv.hpp>

int main() try {
    cv::Mat frame(480, 960, CV_8UC1, cv::Scalar(0x48));  // 640 pixels in 960 bytes of a line

    // What the camera calls its pixels says how to read the frame.
    const auto raw = trvil::wrap(frame, trvil::layout_named("BayerRG12p"));
    const trvil::Pool pool;  // a thread for each processor
    cv::Mat bgr, deep, words;
    trvil::convert(raw, bgr, trvil::Format::BGR24, trvil::Method::ave, &pool);
    trvil::convert(raw, deep, trvil::Format::BGR48, trvil::gradient, &pool);  // 12 bits: 0 to 4095
    trvil::convert(raw, words, trvil::Format::BAY12_A);  // the mosaic itself, CV_16UC1

    // Black level, gains and the curve of a display, in one pass; the recipe serves all frames.
    TRW_DevelopSettings settings{};
    for (uint32_t& black : settings.black) black = 64;
    settings.gains[0] = 1.9, settings.gains[1] = 1, settings.gains[2] = 1.4;
    settings.curve = TRW_CURVE_SRGB;
    const trvil::Recipe recipe(raw, settings);
    cv::Mat developed;
    trvil::develop(raw, recipe, developed, trvil::Format::BGR24, &pool);

    // A window of a larger matrix takes a picture in its place.
    cv::Mat wall(1080, 1920, CV_8UC3, cv::Scalar::all(0));
    cv::Mat window = wall(cv::Rect(1280, 600, 640, 480));
    trvil::convert(raw, window, trvil::Format::BGR24);

    std::printf("%d of 255, %d of 4095, %d, developed %d\n", bgr.at<cv::Vec3b>(1, 1)[1],
                deep.at<cv::Vec3w>(1, 1)[1], words.at<uint16_t>(1, 1),
                developed.at<cv::Vec3b>(1, 1)[1]);
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
