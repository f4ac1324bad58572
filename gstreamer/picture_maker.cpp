#include "gstreamer/picture_maker.h"

#include <cstring>

namespace trv::gstreamer {
namespace {

using trvil::Buffer;
using trvil::Format;
using trvil::Method;
using trvil::RawPicture;

// What a format of GStreamer is to the library.
struct Output {
    GstVideoFormat format;
    Format stored;
};

constexpr Output outputs[] = {
    {GST_VIDEO_FORMAT_BGRx, Format::BGRX32},      {GST_VIDEO_FORMAT_BGR, Format::BGR24},
    {GST_VIDEO_FORMAT_RGB, Format::RGB24},        {GST_VIDEO_FORMAT_RGBx, Format::RGBX32},
    {GST_VIDEO_FORMAT_RGB16, Format::RGB16},      {GST_VIDEO_FORMAT_ARGB64_LE, Format::RGB48},
    {GST_VIDEO_FORMAT_GRAY16_LE, Format::Mono16}, {GST_VIDEO_FORMAT_GRAY8, Format::Mono8},
};

Format stored_as(GstVideoFormat format) {
    for (const Output& output : outputs)
        if (output.format == format) return output.stored;
    throw trvil::Error(TRV_STATUS_UNSUPPORTED, "trvilbayer makes no such pictures");
}

Format grey_of(Format samples) {
    switch (trvil::facts(samples).significant) {
        case 8:
            return Format::Mono8;
        case 10:
            return Format::Mono10;
        case 12:
            return Format::Mono12;
        case 14:
            return Format::Mono14;
        default:
            return Format::Mono16;
    }
}

// The same mosaic with red and blue exchanged: its letter counted from the other end.
Format exchanged(Format samples) {
    const auto code = static_cast<uint32_t>(samples);
    for (const Format first :
         {Format::BAY8_A, Format::BAY10_A, Format::BAY12_A, Format::BAY14_A, Format::BAY16_A}) {
        const uint32_t letter = code - static_cast<uint32_t>(first);
        if (letter < 4) return Format{code - letter + (3 - letter)};
    }
    return samples;
}

bool develops(const Settings& settings) {
    const Settings plain;
    return settings.black != plain.black || settings.gains[0] != 1 || settings.gains[1] != 1 ||
           settings.gains[2] != 1;
}

// Three words at the end of a line become four from its beginning on, the first one opaque alpha. A
// pixel is read together with the word before it, and written no further than the next one begins.
void put_alpha_first(uint8_t* line, uint32_t width) {
    const uint8_t* from = line + 2 * size_t{width} - 2;
    for (size_t i = 0; i < width; ++i) {
        uint64_t pixel;
        std::memcpy(&pixel, from + 6 * i, sizeof pixel);
        pixel |= 0xFFFF;
        std::memcpy(line + 8 * i, &pixel, sizeof pixel);
    }
}

}  // namespace

const std::vector<GstVideoFormat>& picture_formats() {
    static const std::vector<GstVideoFormat> formats = [] {
        std::vector<GstVideoFormat> all;
        for (const Output& output : outputs) all.push_back(output.format);
        return all;
    }();
    return formats;
}

// One picture to be made.
struct PictureMaker::Job {
    const Mosaic& mosaic;
    Lines source;
    Format format;  // of the destination
    Lines destination;
    const Settings& settings;
    bool grey;  // its samples are taken for grey

    Format samples() const { return grey ? grey_of(mosaic.layout.format) : mosaic.layout.format; }
    Method method() const { return Method{settings.method}; }

    RawPicture wrap_source(Format as) const {
        return trvil::wrap(source.memory, source.size, mosaic.width, mosaic.height,
                           {as, mosaic.layout.packing}, source.stride);
    }
    Buffer wrap_destination(Format as) const { return wrap(destination, as); }
    Buffer wrap(const Lines& lines, Format as) const {
        return Buffer::wrap(lines.memory, lines.size, mosaic.width, mosaic.height, as,
                            lines.stride);
    }
};

void PictureMaker::make(const Mosaic& mosaic, const Lines& source, GstVideoFormat format,
                        const Lines& destination, const Settings& settings) {
    const Format stored = stored_as(format);
    const bool grey = trvil::facts(stored).family == trvil::FormatFacts::Family::grey;
    const Job job{mosaic, source, stored, destination, settings, grey};
    if (grey)
        make_grey(job);
    else if (format == GST_VIDEO_FORMAT_ARGB64_LE)
        make_words_with_alpha(job);
    else if (stored == Format::RGB16)
        make_words_of_565(job);
    else
        make_colour(job);
}

void PictureMaker::reset() {
    pool_.reset();
    pool_threads_ = 1;
    recipe_.reset();
    between_ = Buffer();
    copy_ = {};
}

const trvil::Pool* PictureMaker::pool(uint32_t threads) {
    if (threads != pool_threads_) {
        pool_.reset();
        pool_threads_ = 1;
        if (threads != 1) pool_.emplace(threads);
        pool_threads_ = threads;
    }
    return pool_ ? &*pool_ : nullptr;
}

const trvil::Recipe& PictureMaker::recipe(const Job& job) {
    const Kind kind{job.mosaic, job.settings, job.grey};
    if (recipe_ && kind == kind_) return *recipe_;
    TRW_DevelopSettings settings{};
    for (uint32_t& black : settings.black) black = job.settings.black;
    if (!job.grey) {
        settings.method = job.settings.method;
        std::memcpy(settings.gains, job.settings.gains, sizeof settings.gains);
    }
    recipe_.emplace(job.wrap_source(job.samples()), settings);
    kind_ = kind;
    return *recipe_;
}

void PictureMaker::develop(const Job& job, Buffer destination) {
    trvil::develop(job.wrap_source(job.samples()), recipe(job), destination,
                   pool(job.settings.threads));
}

void PictureMaker::make_colour(const Job& job) {
    if (develops(job.settings))
        develop(job, job.wrap_destination(job.format));
    else
        convert(job);
}

// Not every method goes to the formats with red first. Mean and median treat red and blue alike:
// with both exchanged in the mosaic they are exchanged in the picture. Nearest does not, so it
// makes BGR24, whose bytes are exchanged where they lie.
void PictureMaker::convert(const Job& job) {
    const Format samples = job.samples();
    const Method method = job.method();
    const bool alike = method == Method::ave || method == Method::med;
    if (job.format == Format::RGBX32 && alike)
        return convert_as(job, exchanged(samples), Format::BGRX32);
    if (job.format == Format::RGB24 && alike)
        return convert_as(job, exchanged(samples), Format::BGR24);
    if (job.format == Format::RGB24 && method == Method::dup) {
        convert_as(job, samples, Format::BGR24);
        Buffer red_first = job.wrap_destination(Format::RGB24);
        return trvil::convert(job.wrap_destination(Format::BGR24), red_first);
    }
    convert_as(job, samples, job.format);
}

void PictureMaker::convert_as(const Job& job, Format samples, Format format) {
    Job direct = job;
    direct.source = with_a_sample_behind(job);
    Buffer destination = job.wrap_destination(format);
    trvil::convert(direct.wrap_source(samples), destination, job.method(),
                   pool(job.settings.threads));
}

// With an odd width, mean and median look at one sample after each line, the last one included, and
// memory may end there. The sample is 0 then, as the library has it behind packed pictures.
Lines PictureMaker::with_a_sample_behind(const Job& job) {
    const Mosaic& mosaic = job.mosaic;
    const bool looks = mosaic.layout.packing == 0 && !job.grey && mosaic.width % 2 == 1 &&
                       (job.method() == Method::ave || job.method() == Method::med);
    const uint64_t needed = uint64_t{job.source.stride} * (mosaic.height - 1) +
                            trvil::line_bytes(mosaic.layout, mosaic.width + 1);
    if (!looks || job.source.size >= needed) return job.source;
    copy_.assign(needed, 0);
    std::memcpy(copy_.data(), job.source.memory, job.source.size);
    return {copy_.data(), copy_.size(), job.source.stride};
}

// Nothing goes straight to 5-6-5 words by gradient, and developed words of colour keep one colour
// alone on their way there; bytes keep all three.
void PictureMaker::make_words_of_565(const Job& job) {
    const Settings& settings = job.settings;
    if (!develops(settings) && settings.method != TRW_METHOD_GRADIENT) return convert(job);
    const Mosaic& mosaic = job.mosaic;
    if (!between_ || between_.width() != mosaic.width || between_.height() != mosaic.height)
        between_ = Buffer::create(mosaic.width, mosaic.height, Format::BGR24);
    const uint32_t stride = between_.stride();
    const Lines bytes{reinterpret_cast<uint8_t*>(between_.memory()),
                      uint64_t{stride} * mosaic.height, stride};
    make_colour({mosaic, job.source, Format::BGR24, bytes, settings, job.grey});
    Buffer destination = job.wrap_destination(job.format);
    trvil::convert(between_, destination);
}

// The words are made at the ends of the lines that they become, so no picture lies between.
void PictureMaker::make_words_with_alpha(const Job& job) {
    const Lines& lines = job.destination;
    const uint64_t skipped = uint64_t{job.mosaic.width} * 2;
    develop(job,
            job.wrap({lines.memory + skipped, lines.size - skipped, lines.stride}, Format::RGB48));
    for (uint64_t y = 0; y < job.mosaic.height; ++y)
        put_alpha_first(lines.memory + y * lines.stride, job.mosaic.width);
}

// Words are brought to 16 bits by the recipe, bytes are the upper bits of the samples.
void PictureMaker::make_grey(const Job& job) {
    if (job.format == Format::Mono16 || job.settings.black != 0)
        develop(job, job.wrap_destination(job.format));
    else
        convert_as(job, job.samples(), job.format);
}

}  // namespace trv::gstreamer
