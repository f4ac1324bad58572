/* Pictures to and from OpenCV without a copy. Needs opencv2/core.hpp (OpenCV 4) and opencv_core;
   what takes a RawPicture, a PixelLayout or a Recipe needs libtrvraw.so, see trvil/raw.hpp.

   Both sides own what they share: a Buffer made of a matrix keeps the matrix's memory alive, and a
   matrix made of a Buffer keeps the buffer. Errors as in trvil/buffer.hpp. */
#ifndef TRVIL_OPENCV_HPP
#define TRVIL_OPENCV_HPP

#include <memory>
#include <opencv2/core.hpp>

#include "trvil/raw.hpp"

namespace trvil {

/* The matrix type that holds a format's pixels: CV_8UC3 for BGR24, CV_16UC1 for BAY12, CV_8UC2 for
   YUV422 and words of 16 bits. -1: there is none, as pixels are packed or a word has other than
   equal bytes (RGB30). Channels stand in the format's own order. */
inline int matrix_type(Format format) noexcept {
    const FormatFacts known = facts(format);
    const bool packed = known.stored % 8 != 0;
    const bool fields = known.stored == 32 && known.significant == 10;
    if (known.stored == 0 || packed || fields) return -1;
    if (format == Format::Mono32) return CV_32SC1;
    const int depth = known.significant <= 8 ? CV_8U : CV_16U;
    return CV_MAKETYPE(depth, static_cast<int>(known.stored / 8 / CV_ELEM_SIZE1(depth)));
}

/* The format that OpenCV means by a matrix type: Mono8, Mono16, BGR24, BGR48, BGRX32. Throws
   TRV_STATUS_UNSUPPORTED for any other; say the format then. */
inline Format usual_format(int type) {
    switch (type) {
        case CV_8UC1:
            return Format::Mono8;
        case CV_16UC1:
            return Format::Mono16;
        case CV_8UC3:
            return Format::BGR24;
        case CV_16UC3:
            return Format::BGR48;
        case CV_8UC4:
            return Format::BGRX32;
        default:
            throw Error(TRV_STATUS_UNSUPPORTED,
                        "trvil: OpenCV means no format of trvil by matrix type " +
                            cv::typeToString(type) + "; name one");
    }
}

namespace detail {
inline void drop_matrix(void* matrix, void*) {
    delete static_cast<cv::Mat*>(matrix);
}

/* Matrices of a buffer: the matrix's last owner releases the buffer. */
class BufferAllocator : public cv::MatAllocator {
  public:
    static const BufferAllocator& instance() {
        static const BufferAllocator allocator;
        return allocator;
    }
    cv::UMatData* allocate(int dims, const int* sizes, int type, void* data, size_t* step,
                           cv::AccessFlag flags, cv::UMatUsageFlags usage) const override {
        return cv::Mat::getStdAllocator()->allocate(dims, sizes, type, data, step, flags, usage);
    }
    bool allocate(cv::UMatData* data, cv::AccessFlag flags,
                  cv::UMatUsageFlags usage) const override {
        return cv::Mat::getStdAllocator()->allocate(data, flags, usage);
    }
    void deallocate(cv::UMatData* data) const override {
        delete static_cast<Buffer*>(data->userdata);
        delete data;
    }
};
}  // namespace detail

/* A buffer of a matrix's pixels in "format", of which the matrix has the type. Rectangles of larger
   matrices keep their stride. Throws TRV_STATUS_PARAMETER for an empty matrix, one of more than two
   dimensions or of another type, TRV_STATUS_UNSUPPORTED for a format without a type. */
inline Buffer wrap(const cv::Mat& matrix, Format format) {
    const std::string what =
        "wrap a matrix of type " + cv::typeToString(matrix.type()) + " as " + facts(format).name;
    const int type = matrix_type(format);
    if (type < 0) detail::check(TRV_STATUS_UNSUPPORTED, what, "no matrix has such pixels");
    if (matrix.dims != 2 || matrix.empty())
        detail::check(TRV_STATUS_PARAMETER, what, "it is empty or has more than two dimensions");
    if (matrix.type() != type)
        detail::check(TRV_STATUS_PARAMETER, what,
                      ("it would be " + cv::typeToString(type)).c_str());
    if (matrix.step[0] > UINT32_MAX)
        detail::check(TRV_STATUS_PARAMETER, what, "its lines are too long");
    auto kept = std::make_unique<cv::Mat>(matrix);
    const auto lines = static_cast<uint32_t>(matrix.rows),
               columns = static_cast<uint32_t>(matrix.cols);
    const uint64_t size = uint64_t{lines - 1} * matrix.step[0] + columns * matrix.elemSize();
    Buffer made =
        Buffer::wrap(matrix.data, size, columns, lines, format,
                     static_cast<uint32_t>(matrix.step[0]), detail::drop_matrix, kept.get());
    kept.release();
    return made;
}

/* The same in the format that OpenCV means by the matrix's type. */
inline Buffer wrap(const cv::Mat& matrix) {
    return wrap(matrix, usual_format(matrix.type()));
}

/* A matrix of a buffer's pixels, of matrix_type() and with the buffer's stride. Throws
   TRV_STATUS_UNSUPPORTED for a format without a type, TRV_STATUS_PARAMETER for an empty buffer, or
   for a stride that is no multiple of a sample. */
inline cv::Mat matrix(const Buffer& buffer) {
    const std::string what =
        std::string("show a buffer of ") + facts(buffer.format()).name + " as a matrix";
    const int type = matrix_type(buffer.format());
    if (type < 0) detail::check(TRV_STATUS_UNSUPPORTED, what, "no matrix has such pixels");
    if (buffer.stride() % CV_ELEM_SIZE1(type) != 0)
        detail::check(TRV_STATUS_PARAMETER, what, "its lines begin inside a sample");
    auto owner = std::make_unique<Buffer>(buffer.share());
    cv::Mat made(static_cast<int>(buffer.height()), static_cast<int>(buffer.width()), type,
                 owner->memory(), buffer.stride());
    auto data = std::make_unique<cv::UMatData>(&detail::BufferAllocator::instance());
    data->data = data->origdata = made.data;
    data->size = buffer.stride() * size_t{buffer.height()};
    data->refcount = 1;
    data->userdata = owner.release();
    made.allocator = nullptr;
    made.u = data.release();
    return made;
}

/* A picture of packed samples in a matrix of bytes, CV_8UC1, whose lines are those of the picture;
   rectangles of larger matrices keep their stride. "width" is in pixels; 0: as many as the matrix's
   columns hold. A layout that is not packed is wrapped in its format. Throws as above, too for
   lines that do not hold "width" pixels. */
inline RawPicture wrap(const cv::Mat& lines, PixelLayout layout, int width = 0) {
    if (layout.packing == 0) layout = detail::as_packing(layout.format);
    if (layout.packing == 0) return RawPicture(wrap(lines, layout.format));
    const std::string what =
        "wrap a matrix of type " + cv::typeToString(lines.type()) + " as " + detail::name(layout);
    if (lines.type() != CV_8UC1 || lines.dims != 2 || lines.empty())
        detail::refuse(TRV_STATUS_PARAMETER, what, "it is empty, or not lines of bytes (CV_8UC1)");
    TRW_PackingInfo info{};
    info.size = sizeof info;
    detail::check(TRW_PackingInfoGet(layout.packing, 0, 0, &info), what, "no such packing");
    if (width == 0)
        width =
            lines.cols / static_cast<int>(info.group_bytes) * static_cast<int>(info.group_pixels);
    if (width <= 0 || lines.step[0] > UINT32_MAX ||
        line_bytes(layout, static_cast<uint32_t>(width)) > static_cast<uint64_t>(lines.cols))
        detail::refuse(TRV_STATUS_PARAMETER, what,
                       std::to_string(lines.cols) + " columns do not hold " +
                           std::to_string(width) + " pixels");
    auto kept = std::make_unique<cv::Mat>(lines);
    const auto count = static_cast<uint32_t>(lines.rows);
    const uint64_t size = uint64_t{count - 1} * lines.step[0] + static_cast<uint64_t>(lines.cols);
    RawPicture made = wrap(lines.data, size, static_cast<uint32_t>(width), count, layout,
                           static_cast<uint32_t>(lines.step[0]), detail::drop_matrix, kept.get());
    kept.release();
    return made;
}

namespace detail {
/* "out" itself where it has this size and type, as a rectangle of another matrix may; else a new
   matrix, so that a call that fails leaves "out" as it is. */
inline cv::Mat fitting(const cv::Mat& out, const Buffer& source, Format format) {
    const int type = matrix_type(format), rows = static_cast<int>(source.height()),
              columns = static_cast<int>(source.width());
    if (type < 0)
        refuse(TRV_STATUS_UNSUPPORTED, std::string("make a matrix of ") + facts(format).name,
               "no matrix has such pixels");
    if (out.dims == 2 && out.rows == rows && out.cols == columns && out.type() == type) return out;
    return cv::Mat(rows, columns, type);
}
}  // namespace detail

/* Converts a picture into a matrix, by trvil::convert of trvil/raw.hpp. Like the functions of
   OpenCV it writes into "out" where that has the size and type of the result, and gives it new
   memory where not. "out" must not share memory with the source. */
inline void convert(const RawPicture& source, cv::Mat& out, Format format, Method method = Method{},
                    const Pool* pool = nullptr) {
    cv::Mat made = detail::fitting(out, source.buffer, format);
    Buffer destination = wrap(made, format);
    convert(source, destination, method, pool);
    out = made;
}

/* Develops a picture into a matrix, as above. */
inline void develop(const RawPicture& source, const Recipe& recipe, cv::Mat& out, Format format,
                    const Pool* pool = nullptr) {
    cv::Mat made = detail::fitting(out, source.buffer, format);
    Buffer destination = wrap(made, format);
    develop(source, recipe, destination, pool);
    out = made;
}

}  // namespace trvil

#endif
