// OpenCV, one thread. Where it has no single call, the shortest chain of its calls; chains of
// pixel by pixel calls go in strips, so that what lies between stays in cache.
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <memory>

#include "bench/peers/candidate.h"

namespace peers {
namespace {

using cv::Mat;

cv::Size dimensions(Size size) {
    return {static_cast<int>(size.width), static_cast<int>(size.height)};
}

Mat picture(const void* memory, Size size, int type) {
    return {dimensions(size), type, const_cast<void*>(memory)};
}

int type_of(const trv::Format& format) {
    const bool words = format.significant > 8 && format.stored % 16 == 0;
    if (format.family == trv::Family::word) return CV_8UC2;
    if (format.family == trv::Family::yuv) return CV_8UC2;
    return CV_MAKETYPE(words ? CV_16U : CV_8U, format.stored / (words ? 16 : 8));
}

// Truncates as a shift does: no quotient ends on a half, and the offset takes the rounding back.
void narrow(const Mat& from, Mat to, unsigned significant) {
    const double unit = 1u << (significant - 8);
    from.convertTo(to, CV_8U, 1 / unit, -(unit - 1) / 2 / unit);
}

using Step = std::function<void(const Mat& from, Mat to)>;

Candidate one_step(const Task& task, const Tolerance& tolerance, const Step& step) {
    const int from_type = type_of(task.from()), to_type = type_of(task.to());
    return {"OpenCV", tolerance, [=](Size size) -> Run {
                return [=](const Job& job) {
                    step(picture(job.from, size, from_type), picture(job.to, size, to_type));
                };
            }};
}

Step colour(int code) {
    return [code](const Mat& from, Mat to) { cv::cvtColor(from, to, code); };
}

// Narrows to 8 bits, then converts, 16 lines at a time.
Step narrow_then(unsigned significant, int code) {
    return [=](const Mat& from, Mat to) {
        Mat scratch(16, from.cols, CV_MAKETYPE(CV_8U, from.channels()));
        for (int y = 0; y < from.rows; y += 16) {
            const int end = std::min(from.rows, y + 16);
            Mat strip = scratch.rowRange(0, end - y);
            narrow(from.rowRange(y, end), strip, significant);
            cv::cvtColor(strip, to.rowRange(y, end), code);
        }
    };
}

Step narrow_only(unsigned significant) {
    return [=](const Mat& from, Mat to) { narrow(from, to, significant); };
}

Step widen() {
    return [](const Mat& from, Mat to) { from.convertTo(to, CV_16U); };
}

struct Row {
    Code from, to;
    Tolerance tolerance;
    Step step;
};

const std::vector<Row>& direct_rows() {
    const Tolerance pad{"pad byte", 0};
    const Tolerance range{"limited-range YUV", 20};
    static const std::vector<Row> rows = {
        {Code::BGR24, Code::BGRX32, pad, colour(cv::COLOR_BGR2BGRA)},
        {Code::BGRX32, Code::BGR24, {}, colour(cv::COLOR_BGRA2BGR)},
        {Code::BGR24, Code::RGB24, {}, colour(cv::COLOR_BGR2RGB)},
        {Code::RGB24, Code::BGRX32, pad, colour(cv::COLOR_RGB2BGRA)},
        {Code::RGBA32, Code::BGRX32, {}, colour(cv::COLOR_RGBA2BGRA)},
        {Code::BGR24, Code::BGR48, {}, widen()},
        {Code::BGR24, Code::RGB16, {}, colour(cv::COLOR_BGR2BGR565)},
        {Code::Mono8, Code::BGR24, {}, colour(cv::COLOR_GRAY2BGR)},
        {Code::Mono8, Code::BGRX32, pad, colour(cv::COLOR_GRAY2BGRA)},
        {Code::Mono8, Code::RGB16, {}, colour(cv::COLOR_GRAY2BGR565)},
        {Code::Mono8, Code::Mono16, {}, widen()},
        {Code::Mono16, Code::Mono8, {}, narrow_only(16)},
        {Code::Mono12, Code::Mono8, {}, narrow_only(12)},
        {Code::Mono16, Code::BGR24, {}, narrow_then(16, cv::COLOR_GRAY2BGR)},
        {Code::Mono12, Code::BGRX32, pad, narrow_then(12, cv::COLOR_GRAY2BGRA)},
        {Code::YUV422, Code::BGRX32, range, colour(cv::COLOR_YUV2BGRA_YUY2)},
        {Code::YUV422, Code::BGR24, range, colour(cv::COLOR_YUV2BGR_YUY2)},
        {Code::RGB48, Code::RGB24, {}, narrow_only(16)},
        {Code::BGR48, Code::BGR24, {}, narrow_only(16)},
        {Code::BGR48_12, Code::BGR24, {}, narrow_only(12)},
        {Code::RGBA64, Code::RGBA32, {}, narrow_only(16)},
        {Code::RGBA64, Code::BGRX32, {}, narrow_then(16, cv::COLOR_RGBA2BGRA)},
        {Code::RGB48, Code::BGRX32, pad, narrow_then(16, cv::COLOR_RGB2BGRA)},
        {Code::BGR48, Code::BGRX32, pad, narrow_then(16, cv::COLOR_BGR2BGRA)},
    };
    return rows;
}

int demosaic_code(const Task& task) {
    switch (task.to_code) {
        case Code::BGRX32:
            return cv::COLOR_BayerRGGB2BGRA;
        case Code::RGBX32:
            return cv::COLOR_BayerRGGB2RGBA;
        default:
            return task.method == Method::med ? cv::COLOR_BayerRGGB2BGR_EA
                                              : cv::COLOR_BayerRGGB2BGR;
    }
}

Tolerance demosaic_tolerance(const Task& task) {
    if (task.method == Method::dup) return {"bilinear filter", 3, 2};
    if (task.method == Method::med && task.to_code == Code::BGR24)
        return {"edge-aware filter", 2, 2};
    if (task.method == Method::med) return {"bilinear filter", 2, 2};
    return {"rounding, border", 1, 2};
}

// Deep samples are narrowed first: its demosaicing of 16-bit samples has no vector code.
Candidate demosaic(const Task& task) {
    const unsigned significant = task.from().significant;
    const int code = demosaic_code(task), to_type = type_of(task.to());
    const bool word = task.to_code == Code::RGB16;
    return {"OpenCV", demosaic_tolerance(task), [=](Size size) -> Run {
                const auto scratch = std::make_shared<Mat>(dimensions(size), CV_8U);
                const auto wide = std::make_shared<Mat>(dimensions(size), CV_8UC3);
                return [=](const Job& job) {
                    Mat from = picture(job.from, size, significant == 8 ? CV_8U : CV_16U);
                    Mat to = picture(job.to, size, to_type);
                    if (significant > 8) narrow(from, *scratch, significant);
                    const Mat& mosaic = significant > 8 ? *scratch : from;
                    cv::cvtColor(mosaic, word ? *wide : to, code);
                    if (word) cv::cvtColor(*wide, to, cv::COLOR_BGR2BGR565);
                };
            }};
}

void make_between(Method method, const Mat& field, Mat between) {
    const Mat upper = field.rowRange(0, field.rows - 1), lower = field.rowRange(1, field.rows);
    const Mat inner = between.rowRange(0, field.rows - 1);
    switch (method) {
        case Method::line_dup:
            field.copyTo(between);
            return;
        case Method::line_ave:
            cv::addWeighted(upper, 0.5, lower, 0.5, 0, inner);
            break;
        case Method::bilinear: {
            const Mat across = (cv::Mat_<float>(1, 3) << 75 / 512.0f, 105 / 512.0f, 75 / 512.0f);
            const Mat down = (cv::Mat_<float>(2, 1) << 1, 1);
            cv::sepFilter2D(field, between, -1, across, down, {1, 0}, 0, cv::BORDER_REPLICATE);
            break;
        }
        default:
            cv::medianBlur(field, between, 3);
    }
    field.row(field.rows - 1).copyTo(between.row(field.rows - 1));
}

Tolerance field_tolerance(Method method) {
    if (method == Method::line_dup) return {};
    if (method == Method::line_ave) return {"rounding", 1};
    if (method == Method::bilinear) return {"rounding, border", 1, 2};
    return {"median of nine", 2, 2};
}

// The frame's even lines and its odd lines are two pictures of twice the stride.
Candidate frame(const Task& task) {
    const trv::Format& format = task.from();
    const int type = type_of(format);
    const Method method = task.method;
    return {"OpenCV", field_tolerance(method), [=, &format](Size size) -> Run {
                const size_t line = trv::line_bytes(format, size.width);
                return [=](const Job& job) {
                    const Mat field = picture(job.from, size, type);
                    Mat even(field.size(), type, job.to, 2 * line);
                    Mat odd(field.size(), type, job.to + line, 2 * line);
                    field.copyTo(even);
                    make_between(method, field, odd);
                };
            }};
}

}  // namespace

void add_opencv(const Task& task, Candidates* list) {
    cv::setNumThreads(1);
    if (task.is_mosaic()) return list->push_back(demosaic(task));
    if (task.is_field() && task.from_code != Code::YUV422) return list->push_back(frame(task));
    for (const Row& row : direct_rows())
        if (task.is(row.from, row.to)) list->push_back(one_step(task, row.tolerance, row.step));
}

}  // namespace peers
