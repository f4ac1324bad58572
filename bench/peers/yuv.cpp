// libyuv. Its ARGB is BGRX32 in memory, its RGB24 is BGR24, its RAW is RGB24. Chains go in strips
// of 16 lines, so that what lies between stays in cache.
#include <libyuv.h>

#include <algorithm>
#include <memory>

#include "bench/peers/candidate.h"

namespace peers {
namespace {

// A rectangle of tight lines in memory; widths in pixels, strides in bytes.
struct Strip {
    const uint8_t* from;
    uint8_t* to;
    uint8_t *first_scratch, *second_scratch;
    int width, height;
};

using Convert = void (*)(const Strip& s);

using Bytes = int (*)(const uint8_t*, int, uint8_t*, int, int, int);
using WordsToBytes = int (*)(const uint16_t*, int, uint8_t*, int, int, int);

template <Bytes Call, int From, int To>
void call(const uint8_t* from, uint8_t* to, const Strip& s) {
    Call(from, s.width * From, to, s.width * To, s.width, s.height);
}

template <Bytes Call, int From, int To>
void one(const Strip& s) {
    call<Call, From, To>(s.from, s.to, s);
}

template <Bytes First, int From, int Between, Bytes Second, int To>
void two(const Strip& s) {
    call<First, From, Between>(s.from, s.first_scratch, s);
    call<Second, Between, To>(s.first_scratch, s.to, s);
}

// The scale is 2 to the power of 24 less the significant bits; a line has `Words` words a pixel.
template <int Scale, int Words>
int narrow(const uint8_t* from, int, uint8_t* to, int, int width, int height) {
    const int line = width * Words;
    libyuv::Convert16To8Plane(reinterpret_cast<const uint16_t*>(from), line, to, line, Scale, line,
                              height);
    return 0;
}

template <int Words>
int widen(const uint8_t* from, int, uint8_t* to, int, int width, int height) {
    const int line = width * Words;
    libyuv::Convert8To16Plane(from, line, reinterpret_cast<uint16_t*>(to), line, 256, line, height);
    return 0;
}

template <WordsToBytes Call>
int from_words(const uint8_t* from, int from_stride, uint8_t* to, int to_stride, int width,
               int height) {
    return Call(reinterpret_cast<const uint16_t*>(from), from_stride / 2, to, to_stride, width,
                height);
}

void mono16_to_bgr24(const Strip& s) {
    call<narrow<256, 1>, 2, 1>(s.from, s.first_scratch, s);
    call<libyuv::J400ToARGB, 1, 4>(s.first_scratch, s.second_scratch, s);
    call<libyuv::ARGBToRGB24, 4, 3>(s.second_scratch, s.to, s);
}

struct Row {
    Code from, to;
    Tolerance tolerance;
    Convert convert;
    bool is_chain = false;
};

using namespace libyuv;

const std::vector<Row>& rows() {
    const Tolerance pad{"pad byte", 0};
    const Tolerance range{"limited-range YUV", 20};
    const Tolerance thirty{"fields of 10, 10, 10 and 2 bits", 0, 0,
                           Channels{32, {{0, 10, 2}, {10, 10, 2}, {20, 10, 2}}}};
    static const std::vector<Row> table = {
        {Code::BGR24, Code::BGRX32, pad, one<RGB24ToARGB, 3, 4>},
        {Code::BGRX32, Code::BGR24, {}, one<ARGBToRGB24, 4, 3>},
        {Code::BGR24, Code::RGB24, {}, one<RAWToRGB24, 3, 3>},
        {Code::RGB24, Code::BGRX32, pad, one<RAWToARGB, 3, 4>},
        {Code::RGBA32, Code::BGRX32, {}, one<ABGRToARGB, 4, 4>},
        {Code::BGRX32, Code::BGRX32, {}, one<ARGBCopy, 4, 4>},
        {Code::BGR24, Code::BGR48, {}, one<widen<3>, 3, 6>},
        {Code::BGR24, Code::RGB16, {}, two<RGB24ToARGB, 3, 4, ARGBToRGB565, 2>, true},
        {Code::BGR24, Code::RGB30, thirty, two<RGB24ToARGB, 3, 4, ARGBToAR30, 4>, true},
        {Code::Mono8, Code::BGR24, {}, two<J400ToARGB, 1, 4, ARGBToRGB24, 3>, true},
        {Code::Mono8, Code::BGRX32, pad, one<J400ToARGB, 1, 4>},
        {Code::Mono8, Code::RGB16, {}, two<J400ToARGB, 1, 4, ARGBToRGB565, 2>, true},
        {Code::Mono8, Code::Mono16, {}, one<widen<1>, 1, 2>},
        {Code::Mono16, Code::Mono8, {}, one<narrow<256, 1>, 2, 1>},
        {Code::Mono12, Code::Mono8, {}, one<narrow<4096, 1>, 2, 1>},
        {Code::Mono16, Code::BGR24, {}, mono16_to_bgr24, true},
        {Code::Mono12, Code::BGRX32, pad, two<narrow<4096, 1>, 2, 1, J400ToARGB, 4>, true},
        {Code::YUV422, Code::BGRX32, range, one<YUY2ToARGB, 2, 4>},
        {Code::YUV422, Code::BGR24, range, two<YUY2ToARGB, 2, 4, ARGBToRGB24, 3>, true},
        {Code::RGB48, Code::RGB24, {}, one<narrow<256, 3>, 6, 3>},
        {Code::BGR48, Code::BGR24, {}, one<narrow<256, 3>, 6, 3>},
        {Code::BGR48_12, Code::BGR24, {}, one<narrow<4096, 3>, 6, 3>},
        {Code::RGBA64, Code::RGBA32, {}, one<from_words<AR64ToARGB>, 8, 4>},
        {Code::RGBA64, Code::BGRX32, {}, one<from_words<AB64ToARGB>, 8, 4>},
        {Code::RGB48, Code::BGRX32, pad, two<narrow<256, 3>, 6, 3, RAWToARGB, 4>, true},
        {Code::BGR48, Code::BGRX32, pad, two<narrow<256, 3>, 6, 3, RGB24ToARGB, 4>, true},
    };
    return table;
}

Run convert_by(const Row& row, const Task& task, Size size) {
    const size_t from_line = trv::line_bytes(task.from(), size.width);
    const size_t to_line = trv::line_bytes(task.to(), size.width);
    const uint32_t lines = row.is_chain ? 16 : size.height;
    const size_t half = row.is_chain ? size_t{size.width} * lines * 4 + 64 : 0;
    const auto scratch = std::make_shared<std::vector<uint8_t>>(2 * half);
    return [=, convert = row.convert](const Job& job) {
        for (uint32_t y = 0; y < size.height; y += lines)
            convert({job.from + y * from_line, job.to + y * to_line, scratch->data(),
                     scratch->data() + half, static_cast<int>(size.width),
                     static_cast<int>(std::min(lines, size.height - y))});
    };
}

Run frame(Size size, int line, bool mean) {
    const int height = static_cast<int>(size.height);
    return [=](const Job& job) {
        CopyPlane(job.from, line, job.to, 2 * line, line, height);
        if (!mean) return CopyPlane(job.from, line, job.to + line, 2 * line, line, height);
        InterpolatePlane(job.from, line, job.from + line, line, job.to + line, 2 * line, line,
                         height - 1, 128);
        CopyPlane(job.from + (height - 1) * line, line, job.to + (2 * height - 1) * line, line,
                  line, 1);
    };
}

}  // namespace

void add_yuv(const Task& task, Candidates* list) {
    if (task.method == Method::line_dup || task.method == Method::line_ave) {
        const bool mean = task.method == Method::line_ave;
        const int pixel = task.from().stored / 8;
        const Tolerance tolerance = mean ? Tolerance{"rounding", 1} : Tolerance{};
        list->push_back({"libyuv", tolerance, [=](Size size) -> Run {
                             return frame(size, static_cast<int>(size.width) * pixel, mean);
                         }});
    }
    for (const Row& row : rows())
        if (task.is(row.from, row.to))
            list->push_back({"libyuv", row.tolerance, [task, &row](Size size) -> Run {
                                 return convert_by(row, task, size);
                             }});
}

}  // namespace peers
