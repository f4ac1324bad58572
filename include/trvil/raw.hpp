/* C++ face of trvil's raw library: pictures as cameras send them, threads, developing; errors as
   exceptions. Link libtrvraw.so and libtrvblx64.so, and libtrvilx64.so for what trvil/buffer.hpp
   calls. C++17. Errors and threads as in trvil/buffer.hpp: what fails throws trvil::Error, whose
   text says what, why and what to do, and leaves its arguments as they were. */
#ifndef TRVIL_RAW_HPP
#define TRVIL_RAW_HPP

#include <cstdio>

#include "trvil/buffer.hpp"
#include "trvil/raw.h"

namespace trvil {

/* A method of the raw library's own: TRW_METHOD_GRADIENT. Only its calls take it. */
inline constexpr Method gradient = static_cast<Method>(TRW_METHOD_GRADIENT);

/* What pixels of a camera are, and how they are packed. */
struct PixelLayout {
    Format format{};      /* of the samples; a mosaic's has the letter of its phase */
    uint32_t packing = 0; /* TRW_PACKING_...; 0: they lie in memory as the format says */
};

/* A picture as it came, without a copy. */
struct RawPicture {
    Buffer buffer;      /* the bytes: in their format, or where packed Mono8 of the same size, with
                           the stride of the packed lines */
    PixelLayout layout; /* what they are */

    /* No picture. */
    RawPicture() = default;
    RawPicture(Buffer bytes, PixelLayout what) : buffer(std::move(bytes)), layout(what) {}
    /* A picture that is not packed. */
    explicit RawPicture(Buffer picture) : buffer(std::move(picture)), layout{buffer.format(), 0} {}
};

namespace detail {
/* A line of an explanation that begins with "word", without it. */
inline std::string explained(const std::string& text, const char* word) {
    const size_t found = ("\n" + text).find(std::string("\n") + word);
    if (found == std::string::npos) return {};
    const size_t begin = found + std::strlen(word);
    return text.substr(begin, text.find('\n', begin) - begin);
}

inline std::string name(const PixelLayout& layout) {
    TRW_PackingInfo info{};
    info.size = sizeof info;
    const bool packed =
        layout.packing != 0 && TRW_PackingInfoGet(layout.packing, 0, 0, &info) == TRV_STATUS_OK;
    const std::string format = facts(layout.format).name;
    return packed ? format + " in " + info.name : format;
}

inline std::string picture(const RawPicture& raw) {
    return std::to_string(raw.buffer.width()) + "x" + std::to_string(raw.buffer.height()) + " " +
           name(raw.layout);
}

[[noreturn]] inline void refuse(uint32_t status, const std::string& what, const std::string& why) {
    throw Error(status,
                "trvil: cannot " + what + ": " + why + " (status " + std::to_string(status) + ")");
}

/* Packed formats of the image library as a packing and the format of their samples: the raw library
   reads and writes nothing beside a picture's pixels. Others as they are. */
inline PixelLayout as_packing(Format format) noexcept {
    switch (format) {
        case Format::Mono10P:
            return {Format::Mono10, TRW_PACKING_10p};
        case Format::Mono12P:
            return {Format::Mono12, TRW_PACKING_12p};
        case Format::Mono14P:
            return {Format::Mono14, TRW_PACKING_14p};
        case Format::Mono12MP:
            return {Format::Mono12, TRW_PACKING_12pmsb};
#define TRV_PHASE_OF(bits, letter)      \
    case Format::BAY##bits##P_##letter: \
        return {Format::BAY##bits##_##letter, TRW_PACKING_##bits##p};
#define TRV_PHASES_OF(bits) \
    TRV_PHASE_OF(bits, A) TRV_PHASE_OF(bits, B) TRV_PHASE_OF(bits, C) TRV_PHASE_OF(bits, D)
            TRV_PHASES_OF(10)
            TRV_PHASES_OF(12)
            TRV_PHASES_OF(14)
#undef TRV_PHASES_OF
#undef TRV_PHASE_OF
        default:
            return {format, 0};
    }
}

inline PixelLayout layout_of(uint32_t status, const TRW_Reading& reading, const std::string& what) {
    if (status != TRV_STATUS_OK)
        refuse(status, what, reading.why == nullptr ? "there is no such name" : reading.why);
    if (reading.format == 0) refuse(TRV_STATUS_UNSUPPORTED, what, "it is a phase, of any pixels");
    if (reading.packing == 0) return as_packing(static_cast<Format>(reading.format));
    return {static_cast<Format>(reading.format), reading.packing};
}
}  // namespace detail

/* What another system's name says of pixels, as TRW_FindName reads it: "BayerRG12Packed". Throws
   TRV_STATUS_UNSUPPORTED, with the reason, for names of nothing that is read. */
inline PixelLayout layout_named(const std::string& name) {
    TRW_Reading reading{};
    reading.size = sizeof reading;
    const uint32_t status = TRW_FindName(name.c_str(), &reading);
    return detail::layout_of(status, reading, "read pixels of " + name);
}

/* The same for a PFNC value, such as 0x010C002B. */
inline PixelLayout layout_of_pfnc(uint32_t code) {
    TRW_Reading reading{};
    reading.size = sizeof reading;
    const uint32_t status = TRW_FindCode(TRW_SYSTEM_PFNC, code, &reading);
    char number[16];
    std::snprintf(number, sizeof number, "0x%08X", static_cast<unsigned>(code));
    std::string what = std::string("read pixels of PFNC ") + number;
    if (reading.name != nullptr) what += std::string(" (") + reading.name + ")";
    return detail::layout_of(status, reading, what);
}

/* Bytes of a line of "width" pixels up to the last one that has a bit of a sample. Throws
   TRV_STATUS_UNSUPPORTED for a layout that is none. */
inline uint64_t line_bytes(const PixelLayout& layout, uint32_t width) {
    if (layout.packing == 0) {
        const unsigned bits = facts(layout.format).stored;
        if (bits == 0) detail::refuse(TRV_STATUS_UNSUPPORTED, "measure a line", "no such format");
        return (uint64_t{width} * bits + 7) / 8;
    }
    TRW_PackingInfo info{};
    info.size = sizeof info;
    detail::check(TRW_PackingInfoGet(layout.packing, 0, width, &info), "measure a line",
                  "no such packing");
    return info.line_bytes;
}

/* A picture of a layout in "size" bytes of the caller's at "memory"; stride, "release" and lifetime
   as in Buffer::wrap. Throws as that does, too for memory that cannot hold the packed lines;
   "release" is not called then. The note there on odd widths holds for mosaics that are not packed;
   of packed ones no byte is read beside the pixels. */
inline RawPicture wrap(void* memory, uint64_t size, uint32_t width, uint32_t height,
                       PixelLayout layout, uint32_t stride = 0,
                       void (*release)(void*, void*) = nullptr, void* context = nullptr) {
    if (layout.packing == 0) layout = detail::as_packing(layout.format);
    const uint64_t line = line_bytes(layout, width);
    const std::string what = "wrap " + std::to_string(size) + " bytes as " + std::to_string(width) +
                             "x" + std::to_string(height) + " " + detail::name(layout);
    if (line > UINT32_MAX) detail::refuse(TRV_STATUS_PARAMETER, what, "its lines are too long");
    const uint32_t step = stride == 0 ? static_cast<uint32_t>(line) : stride;
    if (step < line || height == 0 || size < uint64_t{height - 1} * step + line)
        detail::refuse(TRV_STATUS_PARAMETER, what,
                       "they cannot hold lines of " + std::to_string(line) + " bytes, " +
                           std::to_string(step) + " apart");
    const Format bytes = layout.packing == 0 ? layout.format : Format::Mono8;
    return {Buffer::wrap(memory, size, width, height, bytes, step, release, context), layout};
}

/* Threads that convert pictures together: see TRW_PoolCreate. 0 stands for one per processor.
   Throws TRV_STATUS_PARAMETER for more than 1024, TRV_STATUS_MEMORY, TRV_STATUS_SYSTEM. Every
   thread may use a pool at any time; it outlives the calls. */
class Pool {
  public:
    explicit Pool(uint32_t threads = 0) {
        const uint32_t status = TRW_PoolCreate(&pool_, threads);
        const char* why = status == TRV_STATUS_PARAMETER ? "there are 1 to 1024"
                          : status == TRV_STATUS_MEMORY  ? "out of memory"
                                                         : "the system starts no more";
        detail::check(status, "start " + std::to_string(threads) + " threads", why);
    }
    Pool(const Pool&) = delete;
    Pool& operator=(const Pool&) = delete;
    ~Pool() { TRW_PoolDestroy(&pool_); }

    /* How many work on a picture, the calling one included. */
    uint32_t threads() const noexcept {
        uint32_t threads = 0;
        TRW_PoolThreadsGet(pool_, &threads);
        return threads;
    }
    TRW_Pool* get() const noexcept { return pool_; } /* stays the Pool's */

  private:
    TRW_Pool* pool_ = nullptr;
};

namespace detail {
inline TRW_Pool* of(const Pool* pool) noexcept {
    return pool == nullptr ? nullptr : pool->get();
}

inline bool is_mosaic(const RawPicture& raw) noexcept {
    return facts(raw.layout.format).family == FormatFacts::Family::bayer;
}

inline std::string why_not(const RawPicture& raw, const Buffer& destination,
                           const TRW_Settings& settings, const Pool* pool) {
    char text[TRW_EXPLAIN_BYTES];
    TRW_ExplainConvert(raw.buffer.handle(), raw.layout.packing, destination.handle(), &settings,
                       of(pool), text, sizeof text);
    const std::string next = explained(text, "next: ");
    return explained(text, "why: ") + (next.empty() ? "" : "; " + next);
}
}  // namespace detail

/* Converts a picture, packed or not, into the upper left corner of "destination" by TRW_Convert:
   every conversion of TIL_Convert, from packed samples too, and mosaics to words of 16 bits.
   "method" is that of a mosaic, gradient included; left out, as the buffer says. Without a pool the
   calling thread works alone. Pixels of the same format are copied. Throws

     TRV_STATUS_PARAMETER      an empty buffer, a destination too small, or a mosaic below 2 x 2
     TRV_STATUS_UNSUPPORTED    no such conversion in one step
     TRV_STATUS_BAYER_SETTING  no such method for it
     TRV_STATUS_MEMORY         no memory for the lines between

   and the destination is unchanged then. */
inline void convert(const RawPicture& source, Buffer& destination, Method method = Method{},
                    const Pool* pool = nullptr) {
    const uint32_t width = source.buffer.width(), height = source.buffer.height();
    const Format to = destination.format();
    const std::string what = "convert " + detail::picture(source) + " to " + facts(to).name;
    if (destination.width() < width || destination.height() < height)
        detail::refuse(TRV_STATUS_PARAMETER, what, "the destination is smaller");
    if (source.layout.packing == 0 && source.layout.format == to && facts(to).stored % 8 == 0)
        return convert(source.buffer, destination);
    const bool mosaic = detail::is_mosaic(source);
    if (mosaic && facts(to).family != FormatFacts::Family::bayer && (width < 2 || height < 2))
        detail::refuse(TRV_STATUS_PARAMETER, what, "a mosaic has at least 2 x 2 pixels");
    TRW_Settings settings{};
    settings.size = sizeof settings;
    if (source.layout.packing != 0) settings.format = static_cast<uint32_t>(source.layout.format);
    if (mosaic) settings.method = static_cast<uint32_t>(method);
    const uint32_t status = TRW_Convert(source.buffer.handle(), source.layout.packing,
                                        destination.handle(), &settings, detail::of(pool));
    if (status == TRV_STATUS_OK) return;
    if (status == TRV_STATUS_MEMORY) detail::refuse(status, what, "out of memory");
    detail::refuse(status, what, detail::why_not(source, destination, settings, pool));
}

/* The same into a new buffer. */
inline Buffer convert(const RawPicture& source, Format format, Method method = Method{},
                      const Pool* pool = nullptr) {
    Buffer made = Buffer::create(source.buffer.width(), source.buffer.height(), format);
    convert(source, made, method, pool);
    return made;
}

/* Settings of developing made ready for pictures like one: see TRW_RecipeCreate for the settings,
   of which "size" is set here, and what they throw for; the text says which of them is wrong. */
class Recipe {
  public:
    Recipe(const RawPicture& like, TRW_DevelopSettings settings) {
        settings.size = sizeof settings;
        if (settings.format == 0 && like.layout.packing != 0)
            settings.format = static_cast<uint32_t>(like.layout.format);
        const char* why = "it is not known";
        const uint32_t status =
            TRW_RecipeCreate(&recipe_, like.buffer.handle(), like.layout.packing, &settings, &why);
        detail::check(status, "make a recipe for " + detail::picture(like), why);
    }
    Recipe(const Recipe&) = delete;
    Recipe& operator=(const Recipe&) = delete;
    ~Recipe() { TRW_RecipeDestroy(&recipe_); }

    const TRW_Recipe* get() const noexcept { return recipe_; } /* stays the Recipe's */

  private:
    TRW_Recipe* recipe_ = nullptr;
};

/* Develops a picture like that of the recipe into the upper left corner of "destination". Throws

     TRV_STATUS_PARAMETER    an empty buffer, another size than the recipe's, or too small a
                             destination
     TRV_STATUS_UNSUPPORTED  another format than the recipe's, or no way to the destination's
     TRV_STATUS_MEMORY       no memory for the lines between; nothing is written */
inline void develop(const RawPicture& source, const Recipe& recipe, Buffer& destination,
                    const Pool* pool = nullptr) {
    const uint32_t status =
        TRW_Develop(source.buffer.handle(), destination.handle(), recipe.get(), detail::of(pool));
    const char* why = status == TRV_STATUS_MEMORY        ? "out of memory"
                      : status == TRV_STATUS_UNSUPPORTED ? "mosaics become colour, grey grey, and "
                                                           "the recipe is of one format"
                                                         : "the sizes do not fit, or it is empty";
    detail::check(status,
                  "develop " + detail::picture(source) + " to " + facts(destination.format()).name,
                  why);
}

/* The same into a new buffer. */
inline Buffer develop(const RawPicture& source, const Recipe& recipe, Format format,
                      const Pool* pool = nullptr) {
    Buffer made = Buffer::create(source.buffer.width(), source.buffer.height(), format);
    develop(source, recipe, made, pool);
    return made;
}

}  // namespace trvil

#endif
