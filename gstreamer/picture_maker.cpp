#include "gstreamer/picture_maker.h"

#include <cstring>
#include <string>

namespace trv::gstreamer {
namespace {

using trvil::Buffer;
using trvil::Error;
using trvil::Format;

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
    throw Error(TRV_STATUS_UNSUPPORTED, "trvilbayer makes no such pictures");
}

Format grey_of(uint32_t samples) {
    switch (trvil::facts(Format{samples}).significant) {
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

uint32_t code(Format format) {
    return static_cast<uint32_t>(format);
}

// The phase of the same mosaic with red and blue exchanged.
uint32_t exchanged(uint32_t phase) {
    switch (phase) {
        case TBL_BAYER_PHASE_A:
            return TBL_BAYER_PHASE_D;
        case TBL_BAYER_PHASE_B:
            return TBL_BAYER_PHASE_C;
        case TBL_BAYER_PHASE_C:
            return TBL_BAYER_PHASE_B;
        default:
            return TBL_BAYER_PHASE_A;
    }
}

bool develops(const Settings& settings) {
    return settings.black != 0 || settings.gains[0] != 1 || settings.gains[1] != 1 ||
           settings.gains[2] != 1;
}

void check(uint32_t status, const char* what, const char* why) {
    if (status != TRV_STATUS_OK) throw Error(status, std::string("cannot ") + what + ": " + why);
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

    Format samples() const { return grey ? grey_of(mosaic.format) : Format{mosaic.format}; }

    Buffer wrap(const Lines& lines, Format as) const {
        return Buffer::wrap(lines.memory, lines.size, mosaic.width, mosaic.height, as,
                            lines.stride);
    }
    Buffer wrap_source() const {
        return wrap(source, mosaic.packing == 0 ? samples() : Format::Mono8);
    }
    Buffer wrap_destination() const { return wrap(destination, format); }
};

void PictureMaker::make(const Mosaic& mosaic, const Lines& source, GstVideoFormat format,
                        const Lines& destination, const Settings& settings) {
    const Format stored = stored_as(format);
    const bool grey = trvil::facts(stored).family == trvil::FormatFacts::Family::grey;
    const Job job{mosaic, source, stored, destination, settings, grey};
    if (grey)
        make_grey(job);
    else if (format == GST_VIDEO_FORMAT_ARGB64_LE)
        develop_with_alpha(job);
    else if (stored == Format::RGB16)
        make_words_of_565(job);
    else
        make_colour(job);
}

void PictureMaker::make_colour(const Job& job) {
    if (develops(job.settings))
        develop(job, job.wrap_destination());
    else
        convert(job);
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
    Buffer destination = job.wrap_destination();
    trvil::convert(between_, destination);
}

TRW_Pool* PictureMaker::pool(uint32_t threads) {
    if (threads == 1) {
        pool_.reset();
    } else if (!pool_ || pool_threads_ != threads) {
        pool_.reset();
        TRW_Pool* made = nullptr;
        check(TRW_PoolCreate(&made, threads), "start threads",
              "the system starts no more; set threads=1");
        pool_.reset(made);
        pool_threads_ = threads;
    }
    return pool_.get();
}

// All layouts but these two have red and blue at places of their own by every method. Mean and
// median treat red and blue alike: with both exchanged in the mosaic they are exchanged in the
// picture. Nearest does not, so it makes BGR24, whose bytes are exchanged where they lie.
void PictureMaker::convert(const Job& job) {
    const uint32_t phase = job.mosaic.phase, method = job.settings.method;
    const bool exchanges = method == TBL_BAYER_METHOD_AVE || method == TBL_BAYER_METHOD_MED;
    if (job.format == Format::RGBX32 && exchanges)
        return convert_by(job, Format::BGRX32, exchanged(phase));
    if (job.format == Format::RGB24 && exchanges)
        return convert_by(job, Format::BGR24, exchanged(phase));
    if (job.format == Format::RGB24 && method == TBL_BAYER_METHOD_DUP) {
        convert_by(job, Format::BGR24, phase);
        const Buffer blue_first = job.wrap(job.destination, Format::BGR24);
        Buffer red_first = job.wrap_destination();
        return trvil::convert(blue_first, red_first);
    }
    convert_by(job, job.format, phase);
}

void PictureMaker::convert_by(const Job& job, Format format, uint32_t phase) {
    Job direct = job;
    direct.source = with_a_sample_behind(job);
    const Buffer source = direct.wrap_source(), destination = job.wrap(job.destination, format);
    const TRW_Settings settings{sizeof settings, code(job.samples()), job.settings.method, phase};
    TRW_Pool* threads = pool(job.settings.threads);
    const uint32_t packing = job.mosaic.packing;
    const uint32_t status =
        TRW_Convert(source.handle(), packing, destination.handle(), &settings, threads);
    if (status == TRV_STATUS_OK) return;
    char text[TRW_EXPLAIN_BYTES];
    TRW_ExplainConvert(source.handle(), packing, destination.handle(), &settings, threads, text,
                       sizeof text);
    throw Error(status, text);
}

// With an odd width, mean and median look at one sample after each line, the last one included, and
// memory may end there. The sample is 0 then, as the library has it behind packed pictures.
Lines PictureMaker::with_a_sample_behind(const Job& job) {
    const Lines& source = job.source;
    const uint64_t needed = uint64_t{source.stride} * (job.mosaic.height - 1) +
                            line_bytes(job.mosaic) * (job.mosaic.width + 1) / job.mosaic.width;
    const bool reads_on = job.mosaic.packing == 0 && !job.grey && job.mosaic.width % 2 == 1 &&
                          job.settings.method != TBL_BAYER_METHOD_DUP &&
                          job.settings.method != TRW_METHOD_GRADIENT;
    if (!reads_on || source.size >= needed) return source;
    copy_.assign(needed, 0);
    std::memcpy(copy_.data(), source.memory, source.size);
    return {copy_.data(), copy_.size(), source.stride};
}

const TRW_Recipe* PictureMaker::recipe(const Job& job) {
    const Kind kind{job.mosaic, job.settings, job.grey};
    if (recipe_ && kind == kind_) return recipe_.get();
    TRW_DevelopSettings develop{};
    develop.size = sizeof develop;
    develop.format = code(job.samples());
    for (uint32_t& black : develop.black) black = job.settings.black;
    if (!job.grey) {
        develop.method = job.settings.method;
        develop.phase = job.mosaic.phase;
        std::memcpy(develop.gains, job.settings.gains, sizeof develop.gains);
    }
    TRW_Recipe* made = nullptr;
    const char* why = "no memory";
    const uint32_t status =
        TRW_RecipeCreate(&made, job.wrap_source().handle(), job.mosaic.packing, &develop, &why);
    check(status, "apply black level and gains", why);
    recipe_.reset(made);
    kind_ = kind;
    return made;
}

void PictureMaker::develop(const Job& job, const Buffer& destination) {
    const TRW_Recipe* by = recipe(job);
    check(TRW_Develop(job.wrap_source().handle(), destination.handle(), by,
                      pool(job.settings.threads)),
          "develop the picture", "no memory, or the buffers do not fit");
}

// The words are made at the ends of the lines that they become, so no picture lies between.
void PictureMaker::develop_with_alpha(const Job& job) {
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
        return develop(job, job.wrap_destination());
    if (job.samples() != Format::Mono8 || job.mosaic.packing != 0)
        return convert_by(job, job.format, job.mosaic.phase);
    Buffer destination = job.wrap_destination();
    trvil::convert(job.wrap_source(), destination);
}

}  // namespace trv::gstreamer
