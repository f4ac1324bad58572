// Every format, method and kind of setting at all small widths, between guard pages and painted
// padding, against the library's calls one by one.
#include "gstreamer/picture_maker.h"

#include <array>
#include <string>

#include "tests/harness.h"

namespace {

using test::Guarded;
using test::Random;
using trv::gstreamer::Lines;
using trv::gstreamer::Mosaic;
using trv::gstreamer::PictureMaker;
using trv::gstreamer::Settings;
using trvil::Buffer;
using trvil::Format;

using Bytes = std::vector<uint8_t>;
using Colour = std::array<uint32_t, 3>;  // red, green, blue

struct Case {
    Mosaic mosaic;
    Settings settings;
    GstVideoFormat format;
};

bool develops(const Case& c) {
    return c.settings.black != 0 || c.settings.gains[0] != 1;
}
unsigned bits_of(const Case& c) {
    return trvil::facts(c.mosaic.layout.format).significant;
}
size_t pixels_of(const Case& c) {
    return size_t{c.mosaic.width} * c.mosaic.height;
}

// The samples as the library has them: behind packed pictures and behind the last line are zeros.
class Samples {
  public:
    Samples(const Case& c, const Guarded& source, uint32_t stride)
        : memory_(source.data(), source.data() + source.size()) {
        memory_.resize(source.size() + 64);
        const Mosaic& m = c.mosaic;
        if (m.layout.packing == 0) {
            buffer_ = wrap(m, m.layout.format, memory_, stride);
            return;
        }
        words_.resize(2 * pixels_of(c) + 64);
        const Buffer packed = wrap(m, Format::Mono8, memory_, stride);
        buffer_ = wrap(m, m.layout.format, words_, 2 * m.width);
        EXPECT_EQ(TRW_Unpack(packed.handle(), m.layout.packing, buffer_.handle()), TRV_STATUS_OK);
    }
    uint64_t handle() const { return buffer_.handle(); }
    uint32_t at(uint32_t x, uint32_t y) const {
        const auto* line = reinterpret_cast<const uint8_t*>(buffer_.memory(y));
        if (trvil::facts(buffer_.format()).stored == 8) return line[x];
        return line[2 * x] | uint32_t{line[2 * x + 1]} << 8;
    }

    static Buffer wrap(const Mosaic& m, Format format, Bytes& memory, uint32_t stride) {
        return Buffer::wrap(memory.data(), memory.size(), m.width, m.height, format, stride);
    }

  private:
    Bytes memory_, words_;
    Buffer buffer_;
};

TRW_DevelopSettings develop_settings(const Case& c) {
    TRW_DevelopSettings settings{};
    settings.size = sizeof settings;
    settings.method = c.settings.method;
    for (uint32_t& black : settings.black) black = c.settings.black;
    std::copy(c.settings.gains, c.settings.gains + 3, settings.gains);
    return settings;
}

// Words of 16 bits, developed in one call.
std::vector<Colour> developed(const Case& c, const Samples& samples) {
    Bytes memory(pixels_of(c) * 6);
    const Buffer picture = Samples::wrap(c.mosaic, Format::RGB48, memory, 0);
    const TRW_DevelopSettings settings = develop_settings(c);
    TRW_Recipe* recipe = nullptr;
    EXPECT_EQ(TRW_RecipeCreate(&recipe, samples.handle(), 0, &settings, nullptr), TRV_STATUS_OK);
    EXPECT_EQ(TRW_Develop(samples.handle(), picture.handle(), recipe, nullptr), TRV_STATUS_OK);
    TRW_RecipeDestroy(&recipe);
    std::vector<Colour> colours(pixels_of(c));
    for (size_t i = 0; i < colours.size(); ++i)
        for (size_t k = 0; k < 3; ++k)
            colours[i][k] = memory[6 * i + 2 * k] | uint32_t{memory[6 * i + 2 * k + 1]} << 8;
    return colours;
}

Bytes converted(const Case& c, const Samples& samples, Format format) {
    Bytes memory(pixels_of(c) * trvil::facts(format).stored / 8);
    const Buffer picture = Samples::wrap(c.mosaic, format, memory, 0);
    if (c.settings.method == TRW_METHOD_GRADIENT) {
        const TRW_Settings settings{sizeof settings, 0, TRW_METHOD_GRADIENT, 0};
        EXPECT_EQ(TRW_Convert(samples.handle(), 0, picture.handle(), &settings, nullptr),
                  TRV_STATUS_OK);
    } else {
        TBS_BufferParameterSet(samples.handle(), TBL_PARAMETER_BAYER_METHOD, c.settings.method);
        EXPECT_EQ(TIL_Convert(samples.handle(), picture.handle()), TRV_STATUS_OK);
    }
    return memory;
}

std::vector<Colour> colours_of(const Case& c, const Samples& samples) {
    if (develops(c)) {
        std::vector<Colour> colours = developed(c, samples);
        for (Colour& colour : colours)
            for (uint32_t& channel : colour) channel >>= 8;
        return colours;
    }
    const Bytes bytes = converted(c, samples, Format::BGR24);
    std::vector<Colour> colours(pixels_of(c));
    for (size_t i = 0; i < colours.size(); ++i)
        colours[i] = {bytes[3 * i + 2], bytes[3 * i + 1], bytes[3 * i]};
    return colours;
}

Bytes word(uint32_t value) {
    return {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8)};
}

Bytes bytes(std::initializer_list<uint32_t> values) {
    Bytes list;
    for (const uint32_t value : values) list.push_back(static_cast<uint8_t>(value));
    return list;
}

// A pixel of each; what is not listed of a pixel stays as it was.
std::vector<Bytes> expected_pixels(const Case& c, const Samples& samples) {
    std::vector<Bytes> pixels;
    const unsigned n = bits_of(c);
    switch (c.format) {
        case GST_VIDEO_FORMAT_GRAY8:
        case GST_VIDEO_FORMAT_GRAY16_LE:
            for (uint32_t y = 0; y < c.mosaic.height; ++y)
                for (uint32_t x = 0; x < c.mosaic.width; ++x) {
                    const uint32_t white = (1u << n) - 1;
                    const uint32_t sample = std::min(samples.at(x, y), white);
                    const uint32_t above = sample - std::min(sample, c.settings.black);
                    // The factor is a multiple of 1 / 2^(n + 11).
                    const uint64_t one = uint64_t{1} << (n + 11), range = white - c.settings.black;
                    const uint64_t factor = (65535 * one + range / 2) / range;
                    const auto full = static_cast<uint32_t>((above * factor + one / 2) / one);
                    if (c.format == GST_VIDEO_FORMAT_GRAY16_LE)
                        pixels.push_back(word(full));
                    else if (c.settings.black != 0)
                        pixels.push_back(bytes({full >> 8}));
                    else
                        pixels.push_back(bytes({samples.at(x, y) >> (n - 8)}));
                }
            return pixels;
        case GST_VIDEO_FORMAT_ARGB64_LE:
            for (const Colour& colour : developed(c, samples)) {
                Bytes pixel{0xFF, 0xFF};
                for (const uint32_t channel : colour)
                    for (const uint8_t byte : word(channel)) pixel.push_back(byte);
                pixels.push_back(pixel);
            }
            return pixels;
        case GST_VIDEO_FORMAT_RGB16:
            if (!develops(c) && c.settings.method != TRW_METHOD_GRADIENT) {
                const Bytes words = converted(c, samples, Format::RGB16);
                for (size_t i = 0; i < words.size(); i += 2)
                    pixels.push_back({words[i], words[i + 1]});
                return pixels;
            }
            for (const auto& [r, g, b] : colours_of(c, samples))
                pixels.push_back(word((r & 0xF8) << 8 | (g & 0xFC) << 3 | b >> 3));
            return pixels;
        default: {
            const bool red_first =
                c.format == GST_VIDEO_FORMAT_RGB || c.format == GST_VIDEO_FORMAT_RGBx;
            for (const auto& [r, g, b] : colours_of(c, samples))
                pixels.push_back(red_first ? bytes({r, g, b}) : bytes({b, g, r}));
            return pixels;
        }
    }
}

unsigned pixel_bytes(GstVideoFormat format) {
    const GstVideoFormatInfo* info = gst_video_format_get_info(format);
    return static_cast<unsigned>(GST_VIDEO_FORMAT_INFO_PSTRIDE(info, 0));
}

std::string describe(const Case& c, uint32_t in, uint32_t out) {
    return std::to_string(c.mosaic.width) + "x" + std::to_string(c.mosaic.height) + " " +
           trvil::facts(c.mosaic.layout.format).name + " packing " +
           std::to_string(c.mosaic.layout.packing) + " to " + gst_video_format_to_string(c.format) +
           " method " + std::to_string(c.settings.method) + " black " +
           std::to_string(c.settings.black) + " gain " + std::to_string(c.settings.gains[0]) +
           " strides " + std::to_string(in) + ", " + std::to_string(out);
}

void check(const Case& c, PictureMaker& maker, Random& random) {
    const uint64_t line = trvil::line_bytes(c.mosaic.layout, c.mosaic.width);
    const uint32_t pixel = pixel_bytes(c.format);
    const uint32_t height = c.mosaic.height;
    const auto in = static_cast<uint32_t>(line) + 2 * random.below(12);
    const uint32_t out = pixel * c.mosaic.width + 2 * random.below(12);
    Guarded source(size_t{in} * (height - 1) + line, test::any_side(random));
    Guarded picture(size_t{out} * (height - 1) + pixel * c.mosaic.width, test::any_side(random));
    for (const Guarded* memory : {&source, &picture})
        for (size_t i = 0; i < memory->size(); ++i)
            memory->data()[i] = static_cast<uint8_t>(random.bits());
    // Words with nothing above their n bits, of which gradient and developing say otherwise.
    if (c.mosaic.layout.packing == 0 && bits_of(c) > 8)
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < c.mosaic.width; ++x)
                source.data()[size_t{y} * in + 2 * x + 1] &=
                    static_cast<uint8_t>((1u << (bits_of(c) - 8)) - 1);
    const Samples samples(c, source, in);
    const std::vector<Bytes> pixels = expected_pixels(c, samples);
    Bytes expected(picture.data(), picture.data() + picture.size());
    for (size_t i = 0; i < pixels.size(); ++i)
        std::copy(pixels[i].begin(), pixels[i].end(),
                  expected.begin() + static_cast<ptrdiff_t>(i / c.mosaic.width * out +
                                                            i % c.mosaic.width * pixel));

    maker.make(c.mosaic, {source.data(), source.size(), in}, c.format,
               {picture.data(), picture.size(), out}, c.settings);
    for (size_t i = 0; i < expected.size(); ++i)
        ASSERT_EQ(int{picture.data()[i]}, int{expected[i]})
            << describe(c, in, out) << " line " << i / out << " byte " << i % out;
}

Mosaic any_mosaic(Random& random) {
    constexpr Format first[] = {Format::BAY8_A, Format::BAY10_A, Format::BAY12_A, Format::BAY14_A,
                                Format::BAY16_A};
    size_t depth = random.below(5);
    Mosaic mosaic;
    if (random.one_in(2)) {
        TRW_PackingInfo info{};
        info.size = sizeof info;
        do {
            mosaic.layout.packing = random.between(1, TRW_PACKING_END - 1);
            TRW_PackingInfoGet(mosaic.layout.packing, 0, 0, &info);
        } while (info.format == TBL_FORMAT(YUV422));
        depth = (info.bits - 8) / 2;
    }
    mosaic.layout.format = Format{static_cast<uint32_t>(first[depth]) + random.below(4)};
    return mosaic;
}

TEST(PictureMaker, EveryWidthFormatAndMethod) {
    Random random(test::seed());
    PictureMaker maker;  // one for all, so that nothing kept of a picture shows in the next
    for (uint32_t width = 2; width <= 67; ++width)
        for (const GstVideoFormat format : trv::gstreamer::picture_formats())
            for (const uint32_t method : {TBL_BAYER_METHOD_DUP, TBL_BAYER_METHOD_AVE,
                                          TBL_BAYER_METHOD_MED, TRW_METHOD_GRADIENT}) {
                Case c{any_mosaic(random), {}, format};
                c.mosaic.width = width;
                c.mosaic.height = random.between(2, 7);
                c.settings.method = method;
                c.settings.threads = random.one_in(8) ? 2 : 1;
                if (random.one_in(3)) c.settings.black = random.between(1, 100);
                if (random.one_in(3)) c.settings.gains[0] = 0.5 + random.below(100) / 50.0;
                ASSERT_NO_FATAL_FAILURE(check(c, maker, random)) << "seed " << test::seed();
            }
}

// Pages of lines, in bands by several threads.
TEST(PictureMaker, LargePicturesOnThreads) {
    Random random(test::seed());
    PictureMaker maker;
    for (const GstVideoFormat format : trv::gstreamer::picture_formats()) {
        Case c{any_mosaic(random), {}, format};
        c.mosaic.width = 1367;
        c.mosaic.height = 301;
        c.settings.threads = 3;
        ASSERT_NO_FATAL_FAILURE(check(c, maker, random)) << "seed " << test::seed();
    }
}

// What cannot be made says why, and the next picture is made.
TEST(PictureMaker, RefusesInWords) {
    PictureMaker maker;
    const Mosaic mosaic{4, 2, {Format::BAY8_A, 0}};
    Bytes source(8), picture(24);
    const Lines from{source.data(), source.size(), 4}, to{picture.data(), picture.size(), 12};
    Settings settings;
    settings.black = 255;
    const auto words = [&](const Settings& with, const Lines& into) {
        try {
            maker.make(mosaic, from, GST_VIDEO_FORMAT_BGR, into, with);
        } catch (const trvil::Error& error) {
            return std::string(error.what());
        }
        return std::string();
    };
    EXPECT_NE(words(settings, to).find("black level is not below white"), std::string::npos);
    EXPECT_NE(words({}, {picture.data(), 23, 12}).find("cannot hold it"), std::string::npos);
    settings.black = 200;
    EXPECT_EQ(words(settings, to), "");
}

}  // namespace
