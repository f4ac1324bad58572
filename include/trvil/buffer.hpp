/* C++ face of trvil: buffers that release themselves, conversion, errors as exceptions.

   Link libtrvilx64.so and libtrvblx64.so, as for the C calls. C++17; what takes a std::span needs
   C++20. Everything is inline, so a program and the libraries share nothing but the C ABI.

   Errors: what can fail throws trvil::Error, which carries the status of trvil/status.h, and leaves
   its arguments as they were. Every function says what it throws for.

   Threads: as in C, any call may run beside any other; one Buffer object, like a std::vector, must
   not be changed while another thread uses it. */
#ifndef TRVIL_BUFFER_HPP
#define TRVIL_BUFFER_HPP

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>
#if __cplusplus >= 202002L
#include <span>
#endif

#include "trvil/tbl.h"
#include "trvil/til.h"

namespace trvil {

/* Pixel formats by their names: Format::BGR24. The value is that of parameter 7. */
enum class Format : uint32_t {
#define TRV_FORMAT(code, name, stored, significant, family, group, phase, order, ...) \
    name = TBL_FORMAT(name),
#include "trvil/formats.inc"
};

/* How missing colours of a mosaic are found. */
enum class Method : uint32_t {
    dup = TBL_BAYER_METHOD_DUP, /* copy a neighbour */
    ave = TBL_BAYER_METHOD_AVE, /* mean of the neighbours */
    med = TBL_BAYER_METHOD_MED  /* median where there are four neighbours, mean where two */
};

/* Colours of a mosaic's first two pixels of the first line, then of the second line. */
enum class Phase : uint32_t {
    rggb = TBL_BAYER_PHASE_A,
    grbg = TBL_BAYER_PHASE_B,
    gbrg = TBL_BAYER_PHASE_C,
    bggr = TBL_BAYER_PHASE_D
};

/* What a call of trvil failed with. */
class Error : public std::runtime_error {
  public:
    Error(uint32_t status, const std::string& text) : std::runtime_error(text), status_(status) {}

    /* TRV_STATUS_... of trvil/status.h, never TRV_STATUS_OK. */
    uint32_t status() const noexcept { return status_; }

  private:
    uint32_t status_;
};

/* What is known of a format: see trvil/formats.inc for the columns. */
struct FormatFacts {
    enum class Family { none, grey, colour, word, yuv, bayer };
    const char* name;     /* "?" for a code that is no format */
    unsigned stored;      /* bits of memory per pixel */
    unsigned significant; /* bits per sample */
    Family family;
};

inline FormatFacts facts(Format format) noexcept {
    using Family = FormatFacts::Family;
    switch (format) {
#define TRV_FORMAT(code, name, stored, significant, family, group, phase, order, ...) \
    case Format::name:                                                                \
        return {#name, stored, significant, Family::family};
#include "trvil/formats.inc"
    }
    return {"?", 0, 0, Family::none};
}

namespace detail {
inline void check(uint32_t status, const std::string& what, const char* why) {
    if (status == TRV_STATUS_OK) return;
    throw Error(status,
                "trvil: cannot " + what + ": " + why + " (status " + std::to_string(status) + ")");
}

inline std::string picture(uint32_t width, uint32_t height, Format format) {
    return std::to_string(width) + "x" + std::to_string(height) + " " + facts(format).name;
}
}  // namespace detail

/* One owner of a buffer, or none. Moves, does not copy: share() makes a second owner. The memory
   lives until the last owner is gone. */
class Buffer {
  public:
    /* Owns nothing; false in a condition. Asked for anything, it throws TRV_STATUS_PARAMETER. */
    Buffer() noexcept = default;
    Buffer(Buffer&& other) noexcept : handle_(std::exchange(other.handle_, 0)) {}
    Buffer& operator=(Buffer&& other) noexcept {
        Buffer(std::move(other)).swap(*this);
        return *this;
    }
    ~Buffer() {
        if (handle_ != 0) TBS_BufferRelease(&handle_);
    }
    void swap(Buffer& other) noexcept { std::swap(handle_, other.handle_); }
    explicit operator bool() const noexcept { return handle_ != 0; }

    /* A black picture in memory of its own, with lines at multiples of 64 bytes and room after the
       last one. Throws for a side of zero, an unknown format, no memory. */
    static Buffer create(uint32_t width, uint32_t height, Format format) {
        Buffer made;
        const uint32_t status =
            TBS_BufferCreate(&made.handle_, width, height, static_cast<uint32_t>(format));
        detail::check(
            status, "create a buffer of " + detail::picture(width, height, format),
            status == TRV_STATUS_MEMORY ? "out of memory or of buffers" : "no such size or format");
        return made;
    }

    /* A picture in "size" bytes of the caller's at "memory", which outlive the Buffer. "stride" is
       in bytes from line to line, 0 for lines without padding. "release", if any, is called with
       "context" and "memory" once the last owner is gone. Throws for memory that is null or cannot
       hold the picture, and for an unknown format; "release" is not called then.

       Note: mean and median demosaicing of mosaics of odd width read one sample after the last
       line, and unpacking writes whole groups of pixels; let the memory reach that far. */
    static Buffer wrap(void* memory, uint64_t size, uint32_t width, uint32_t height, Format format,
                       uint32_t stride = 0, void (*release)(void*, void*) = nullptr,
                       void* context = nullptr) {
        Buffer made;
        const uint32_t status =
            TBS_BufferWrap(&made.handle_, width, height, static_cast<uint32_t>(format), memory,
                           size, stride, release, context);
        detail::check(
            status,
            "wrap " + std::to_string(size) + " bytes as " + detail::picture(width, height, format),
            status == TRV_STATUS_MEMORY ? "too many buffers at once"
                                        : "they cannot hold it, or no such format");
        return made;
    }

#if __cplusplus >= 202002L
    /* The same for memory that knows its size: std::span(vector), std::span(array). */
    template <class T, size_t extent>
    static Buffer wrap(std::span<T, extent> memory, uint32_t width, uint32_t height, Format format,
                       uint32_t stride = 0) {
        static_assert(!std::is_const_v<T>, "a buffer's memory may be written");
        return wrap(memory.data(), memory.size_bytes(), width, height, format, stride);
    }
#endif

    /* Takes over one ownership of a handle that came from C. */
    static Buffer adopt(uint64_t handle) noexcept {
        Buffer made;
        made.handle_ = handle;
        return made;
    }

    /* Gives the ownership away to C: the caller releases the handle. */
    uint64_t detach() noexcept {
        return std::exchange(handle_, 0);
    }

    /* A second owner of the same buffer. */
    Buffer share() const {
        detail::check(TBS_BufferRetain(handle_), "share a buffer", "it is empty or gone");
        return adopt(handle_);
    }

    /* The rectangle from pixel (x, y), without a copy; it keeps the memory alive. The phase of a
       mosaic moves with it. Throws for a rectangle that is empty or leaves the picture. */
    Buffer view(uint32_t x, uint32_t y, uint32_t width, uint32_t height) const {
        Buffer made;
        detail::check(TBS_BufferView(&made.handle_, handle_, x, y, width, height),
                      "view a rectangle of a buffer",
                      "it is empty, leaves the picture, or begins inside a pair of pixels");
        return made;
    }

    uint64_t handle() const noexcept {
        return handle_;
    } /* stays the Buffer's */

    uint32_t width() const {
        return get(TBL_PARAMETER_WIDTH);
    } /* pixels */
    uint32_t height() const {
        return get(TBL_PARAMETER_HEIGHT);
    } /* lines */
    uint32_t stride() const {
        return get(TBL_PARAMETER_STRIDE);
    } /* bytes from line to line */
    Format format() const {
        return static_cast<Format>(get(TBL_PARAMETER_FORMAT));
    }
    Method method() const {
        return static_cast<Method>(get(TBL_PARAMETER_BAYER_METHOD));
    }
    Phase phase() const {
        return static_cast<Phase>(get(TBL_PARAMETER_BAYER_PHASE));
    }
    void method(Method method) {
        set(TBL_PARAMETER_BAYER_METHOD, static_cast<uint64_t>(method));
    }
    void phase(Phase phase) {
        set(TBL_PARAMETER_BAYER_PHASE, static_cast<uint64_t>(phase));
    }

    /* The first byte of a line: of line 0 unless "line" says another below height(). */
    std::byte* memory(uint32_t line = 0) {
        return const_cast<std::byte*>(std::as_const(*this).memory(line));
    }
    const std::byte* memory(uint32_t line = 0) const {
        uint64_t address = 0;
        ask(TBL_PARAMETER_ADDRESS, &address);
        return reinterpret_cast<const std::byte*>(address) + size_t{line} * stride();
    }

  private:
    uint32_t get(uint32_t id) const {
        uint32_t value = 0;
        ask(id, &value);
        return value;
    }
    void ask(uint32_t id, void* out) const {
        detail::check(TBL_BufferParameterGet(handle_, id, out), "read a buffer",
                      "it is empty or gone");
    }
    void set(uint32_t id, uint64_t value) {
        detail::check(TBS_BufferParameterSet(handle_, id, value), "set up a buffer",
                      "it is empty or gone, or there is no such value");
    }

    uint64_t handle_ = 0;
};

namespace detail {
inline void copy_lines(const Buffer& source, Buffer& destination, size_t line) {
    for (uint32_t y = 0; y < source.height(); ++y)
        std::memmove(destination.memory(y), source.memory(y), line);
}
}  // namespace detail

/* Converts the picture of "source" into the format of "destination", whose upper left corner
   receives it. Mosaics are demosaiced by the source's method and phase. Unlike the C call, it
   copies pixels of the same format line by line, without the padding, so that rectangles of larger
   pictures are safe on both sides, and throws wherever nothing would be written:

     TRV_STATUS_PARAMETER      an empty buffer, a destination narrower or lower than the source, or
                               a mosaic below 2 x 2 pixels
     TRV_STATUS_UNSUPPORTED    no direct way between these formats; "trvil routes" lists them

   The destination is unchanged then. */
inline void convert(const Buffer& source, Buffer& destination) {
    const uint32_t width = source.width(), height = source.height();
    const Format from = source.format(), to = destination.format();
    const std::string what =
        "convert " + detail::picture(width, height, from) + " to " + facts(to).name;
    if (destination.width() < width || destination.height() < height)
        detail::check(TRV_STATUS_PARAMETER, what, "the destination is smaller");
    if (from == to && facts(from).stored % 8 == 0)
        return detail::copy_lines(source, destination, size_t{width} * facts(from).stored / 8);
    const bool mosaic = facts(from).family == FormatFacts::Family::bayer;
    if (mosaic && (width < 2 || height < 2))
        detail::check(TRV_STATUS_PARAMETER, what, "a mosaic has at least 2 x 2 pixels");
    const uint32_t status = TIL_Convert(source.handle(), destination.handle());
    const char* why = status == TRV_STATUS_UNSUPPORTED     ? "there is no direct way"
                      : status == TRV_STATUS_BAYER_SETTING ? "no such demosaic method for it"
                                                           : "the buffers do not fit";
    detail::check(status, what, why);
}

/* The same into a new buffer. */
inline Buffer convert(const Buffer& source, Format format) {
    Buffer made = Buffer::create(source.width(), source.height(), format);
    convert(source, made);
    return made;
}

/* Writes a picture to a file, replacing what was there: a TIFF file of a Mono8, Mono16, BGR24 or
   RGB24 picture, or the memory as it is (TIL_FILE_RAW). Throws what TIL_FileWrite fails with; a
   partial file may be left. */
inline void write(const Buffer& buffer, const std::string& path, uint32_t type = TIL_FILE_TIFF) {
    const uint32_t status = TIL_FileWrite(buffer.handle(), path.c_str(), type);
    const char* why = status == TRV_STATUS_FILE_OPEN     ? "it cannot be opened"
                      : status == TRV_STATUS_TIFF_FORMAT ? "not in this pixel format"
                      : status == TRV_STATUS_UNSUPPORTED ? "no such file type"
                      : status == TRV_STATUS_PARAMETER   ? "the buffer is empty, or it is a pipe"
                                                         : "not all of it could be written";
    detail::check(status, "write " + path, why);
}

}  // namespace trvil

#endif
