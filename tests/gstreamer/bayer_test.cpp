// The element trvilbayer: caps, strides, pools, and what happens in a running pipeline. What it
// makes of each format and method: picture_maker_test.cpp.
#include <gst/video/gstvideopool.h>

#include <fstream>
#include <iterator>

#include "tests/gstreamer/element.h"
#include "tests/harness.h"
#include "trvil/buffer.hpp"
#include "trvil/raw.h"

namespace {

using test::Element;
using trvil::Buffer;
using trvil::Format;

using Bytes = std::vector<uint8_t>;

Bytes random_bytes(size_t size) {
    static test::Random random(test::seed());
    Bytes bytes(size);
    for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random.bits());
    return bytes;
}

// TIL_Convert to BGR24 of lines in memory, with a zero behind them.
Bytes converted(Bytes mosaic, Format format, uint32_t width, uint32_t height, uint32_t stride,
                uint32_t method = TBL_BAYER_METHOD_AVE) {
    mosaic.resize(mosaic.size() + stride);
    Bytes picture(size_t{3} * width * height);
    const Buffer from = Buffer::wrap(mosaic.data(), mosaic.size(), width, height, format, stride);
    const Buffer to =
        Buffer::wrap(picture.data(), picture.size(), width, height, Format::BGR24, 3 * width);
    TBS_BufferParameterSet(from.handle(), TBL_PARAMETER_BAYER_METHOD, method);
    EXPECT_EQ(TIL_Convert(from.handle(), to.handle()), TRV_STATUS_OK);
    return picture;
}

std::string bayer(const char* format, unsigned width, unsigned height) {
    return test::sized(std::string("video/x-bayer,format=") + format, width, height);
}

const char bgr[] = "video/x-raw,format=BGR";

TEST(GStreamerBayer, MosaicsOfAnotherElement) {
    if (!test::load_plugins({"coreelements", "videotestsrc", "bayer"}))
        GTEST_SKIP() << "skipped: install gstreamer1.0-plugins-bad";
    for (const unsigned width : {2u, 3u, 31u, 64u, 67u}) {
        const std::string source = "videotestsrc pattern=snow ! " +
                                   test::sized("video/x-raw", width, 19) +
                                   " ! rgb2bayer ! capsfilter caps=video/x-bayer,format=gbrg";
        GstHarness* mosaics = gst_harness_new_parse(source.c_str());
        gst_harness_play(mosaics);
        const Element element("trvilbayer");
        element.take(bgr);
        element.send(bayer("gbrg", width, 19));
        GstBuffer* mosaic = gst_harness_pull(mosaics);
        Bytes bytes(gst_buffer_get_size(mosaic));
        gst_buffer_extract(mosaic, 0, bytes.data(), bytes.size());
        ASSERT_EQ(element.push(mosaic), GST_FLOW_OK);
        EXPECT_EQ(element.pull_lines(),
                  converted(bytes, Format::BAY8_C, width, 19, (width + 3) / 4 * 4))
            << "width " << width;
        gst_harness_teardown(mosaics);
    }
}

// Lines where GstVideoMeta says, up to the last byte of memory.
TEST(GStreamerBayer, StridesOfVideoMeta) {
    ASSERT_TRUE(test::load_plugins());
    for (unsigned width = 2; width <= 67; ++width) {
        const unsigned height = 5, stride = 2 * width + 2 * (width % 7);
        constexpr unsigned offset = 36;
        test::Guarded memory(offset + stride * (height - 1) + 2 * width, test::Guarded::At::back);
        const Bytes bytes = random_bytes(memory.size());
        std::memcpy(memory.data(), bytes.data(), bytes.size());
        GstBuffer* buffer =
            gst_buffer_new_wrapped_full(GST_MEMORY_FLAG_READONLY, memory.data(), memory.size(), 0,
                                        memory.size(), nullptr, nullptr);
        gsize offsets[4] = {offset};
        gint strides[4] = {static_cast<gint>(stride)};
        gst_buffer_add_video_meta_full(buffer, GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_FORMAT_ENCODED,
                                       width, height, 1, offsets, strides);
        const Element element("trvilbayer");
        element.take(bgr);
        element.send(bayer("grbg12le", width, height));
        ASSERT_EQ(element.push(buffer), GST_FLOW_OK) << element.error();
        EXPECT_EQ(element.pull_lines(), converted({bytes.begin() + offset, bytes.end()},
                                                  Format::BAY12_B, width, height, stride))
            << "width " << width;
    }
}

// Hands out a pool of pictures whose lines have 24 pixels of padding on the right and 8 on the
// left.
GstPadProbeReturn propose_pool(GstPad*, GstPadProbeInfo* info, gpointer pool) {
    GstQuery* query = GST_PAD_PROBE_INFO_QUERY(info);
    if (GST_QUERY_TYPE(query) != GST_QUERY_ALLOCATION) return GST_PAD_PROBE_OK;
    GstCaps* caps = nullptr;
    GstVideoInfo picture;
    gst_query_parse_allocation(query, &caps, nullptr);
    gst_video_info_from_caps(&picture, caps);
    GstVideoAlignment padding;
    gst_video_alignment_reset(&padding);
    padding.padding_left = 8;
    padding.padding_right = 24;
    GstStructure* config = gst_buffer_pool_get_config(GST_BUFFER_POOL(pool));
    gst_buffer_pool_config_set_params(config, caps, static_cast<guint>(picture.size), 0, 0);
    gst_buffer_pool_config_add_option(config, GST_BUFFER_POOL_OPTION_VIDEO_META);
    gst_buffer_pool_config_add_option(config, GST_BUFFER_POOL_OPTION_VIDEO_ALIGNMENT);
    gst_buffer_pool_config_set_video_alignment(config, &padding);
    gst_buffer_pool_set_config(GST_BUFFER_POOL(pool), config);
    gst_query_add_allocation_pool(query, GST_BUFFER_POOL(pool), static_cast<guint>(picture.size), 0,
                                  0);
    gst_query_add_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr);
    return GST_PAD_PROBE_HANDLED;
}

// Pictures are made in the memory that downstream has for them.
TEST(GStreamerBayer, PicturesInThePoolOfTheSink) {
    const Element element("trvilbayer");
    GstBufferPool* pool = gst_video_buffer_pool_new();
    gst_pad_add_probe(
        element.harness()->sinkpad,
        static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_QUERY_DOWNSTREAM | GST_PAD_PROBE_TYPE_PUSH),
        propose_pool, pool, nullptr);
    element.take(bgr);
    element.send(bayer("gbrg", 17, 6));
    for (int i = 0; i < 3; ++i) {
        const Bytes bytes = random_bytes(20 * 6);
        ASSERT_EQ(element.push(test::buffer_of(bytes)), GST_FLOW_OK) << element.error();
        GstBuffer* picture = element.pull();
        ASSERT_NE(picture, nullptr);
        EXPECT_EQ(picture->pool, pool);
        const GstVideoMeta* meta = gst_buffer_get_video_meta(picture);
        ASSERT_NE(meta, nullptr);
        EXPECT_GE(meta->stride[0], 3 * (8 + 17 + 24));
        Bytes lines(3 * 17 * 6);
        for (gsize y = 0; y < 6; ++y)
            gst_buffer_extract(picture, meta->offset[0] + y * static_cast<gsize>(meta->stride[0]),
                               lines.data() + y * 51, 51);
        EXPECT_EQ(lines, converted(bytes, Format::BAY8_C, 17, 6, 20));
        gst_buffer_unref(picture);
    }
    gst_object_unref(pool);
}

TEST(GStreamerBayer, StridesWithoutVideoMeta) {
    const Element element("trvilbayer");
    element.take(bgr);
    element.send(bayer("rggb", 9, 4));
    struct {
        size_t size;
        guint property;
        uint32_t stride;
    } const cases[] = {{36, 0, 9},    // no padding
                       {48, 0, 12},   // multiples of 4
                       {64, 0, 16},   // a driver's
                       {50, 0, 12},   // two bytes that are no picture
                       {64, 13, 13},  // said by the property
                       {12 * 3 + 9, 12, 12}};
    for (const auto& c : cases) {
        g_object_set(*element, "stride", c.property, nullptr);
        const Bytes bytes = random_bytes(c.size);
        ASSERT_EQ(element.push(test::buffer_of(bytes)), GST_FLOW_OK) << element.error();
        EXPECT_EQ(element.pull_lines(), converted(bytes, Format::BAY8_A, 9, 4, c.stride))
            << c.size << " bytes";
    }
    g_object_set(*element, "stride", 0u, nullptr);
    EXPECT_EQ(element.push(test::buffer_of(Bytes(35))), GST_FLOW_ERROR);
    EXPECT_NE(element.error().find("35 bytes, and 4 lines of 9 bytes"), std::string::npos);
}

TEST(GStreamerBayer, PackingsByTheirField) {
    for (const auto& [format, packing, code, bytes] :
         {std::tuple{"bggr10le", "RAW10", TRW_PACKING_RAW10, 5 * 17},
          std::tuple{"bggr12le", "12Packed", TRW_PACKING_12Packed, 6 * 17},
          std::tuple{"bggr14be", "", TRW_PACKING_14be, 8 * 17}}) {
        const unsigned width = 4 * 17, height = 6;
        Bytes mosaic = random_bytes(static_cast<size_t>(bytes) * height);
        TRW_Reading reading{};
        reading.size = sizeof reading;
        ASSERT_EQ(TRW_FindName(format, &reading), TRV_STATUS_OK);
        Bytes expected(size_t{3} * width * height);
        const Buffer from = Buffer::wrap(mosaic.data(), mosaic.size(), width, height, Format::Mono8,
                                         static_cast<uint32_t>(bytes));
        const Buffer to =
            Buffer::wrap(expected.data(), expected.size(), width, height, Format::BGR24, 3 * width);
        const TRW_Settings settings{sizeof settings, reading.format, TBL_BAYER_METHOD_AVE, 0};
        ASSERT_EQ(TRW_Convert(from.handle(), static_cast<uint32_t>(code), to.handle(), &settings,
                              nullptr),
                  TRV_STATUS_OK);
        const Element element("trvilbayer");
        element.take(bgr);
        const std::string field = *packing == 0 ? "" : std::string(",packing=") + packing;
        element.send(bayer(format, width, height) + field);
        ASSERT_EQ(element.push(test::buffer_of(mosaic)), GST_FLOW_OK) << element.error();
        EXPECT_EQ(element.pull_lines(), expected) << format << field;
    }
}

TEST(GStreamerBayer, WrongCapsAreRefusedInWords) {
    for (const auto& [caps, words] :
         {std::pair{bayer("rggb12le", 8, 8) + ",packing=RAW99", "no packing \"RAW99\""},
          std::pair{bayer("rggb12le", 8, 8) + ",packing=RAW10", "does not hold samples of 12 bits"},
          std::pair{bayer("rggb", 8, 8) + ",packing=RAW10", "does not hold samples of 8 bits"},
          std::pair{bayer("rggb10be", 8, 8) + ",packing=RAW10", "does not hold samples"}}) {
        const Element element("trvilbayer");
        element.take(bgr);
        element.send(caps);
        EXPECT_EQ(element.push(test::buffer_of(Bytes(128))), GST_FLOW_NOT_NEGOTIATED);
        EXPECT_NE(element.error().find(words), std::string::npos) << caps;
    }
    // What the template leaves out is refused where pads meet.
    const Element element("trvilbayer");
    for (const char* format : {"rggb9le", "rgbw"}) {
        GstCaps* caps = gst_caps_from_string(bayer(format, 8, 8).c_str());
        EXPECT_FALSE(gst_pad_query_accept_caps(GST_PAD_PEER(element.harness()->srcpad), caps));
        gst_caps_unref(caps);
    }
    GstCaps* narrow = gst_caps_from_string(bayer("rggb", 1, 8).c_str());
    EXPECT_FALSE(gst_pad_query_accept_caps(GST_PAD_PEER(element.harness()->srcpad), narrow));
    gst_caps_unref(narrow);
}

// Size, depth and format of the picture change between buffers.
TEST(GStreamerBayer, RenegotiatesMidStream) {
    const Element element("trvilbayer");
    element.take("video/x-raw,format={BGR,GRAY8}");
    for (const unsigned size : {8u, 31u, 64u, 5u}) {
        element.send(bayer("bggr", size, size));
        const Bytes bytes = random_bytes(size_t{size} * size);
        ASSERT_EQ(element.push(test::buffer_of(bytes)), GST_FLOW_OK);
        EXPECT_EQ(element.pull_lines(), converted(bytes, Format::BAY8_D, size, size, size));
        element.send(bayer("grbg16le", size, 4));
        const Bytes words = random_bytes(size_t{size} * 8);
        ASSERT_EQ(element.push(test::buffer_of(words)), GST_FLOW_OK);
        EXPECT_EQ(element.pull_lines(), converted(words, Format::BAY16_B, size, 4, 2 * size));
    }
    gst_harness_set_caps_str(element.harness(), bayer("rggb", 8, 2).c_str(),
                             "video/x-raw,format=GRAY8,width=8,height=2,framerate=25/1");
    const Bytes bytes = random_bytes(16);
    ASSERT_EQ(element.push(test::buffer_of(bytes)), GST_FLOW_OK);
    EXPECT_EQ(element.pull_lines(), bytes);
}

// Many sinks name grey first, and a picture without colours is not what they are given.
TEST(GStreamerBayer, PrefersColour) {
    const Element element("trvilbayer");
    element.take("video/x-raw,format={GRAY8,GRAY16_LE,RGB,ARGB64_LE}");
    element.send(bayer("bggr", 8, 8));
    ASSERT_EQ(element.push(test::buffer_of(Bytes(64))), GST_FLOW_OK);
    GstCaps* caps = gst_pad_get_current_caps(element.harness()->sinkpad);
    EXPECT_STREQ(gst_structure_get_string(gst_caps_get_structure(caps, 0), "format"), "RGB");
    gst_caps_unref(caps);
}

TEST(GStreamerBayer, PropertiesCountFromTheNextPicture) {
    const Element element("trvilbayer");
    element.take(bgr);
    element.send(bayer("rggb", 64, 64));
    const Bytes bytes = random_bytes(64 * 64);
    for (const uint32_t method :
         {TBL_BAYER_METHOD_DUP, TBL_BAYER_METHOD_MED, TBL_BAYER_METHOD_AVE}) {
        g_object_set(*element, "method", method, "threads", method >> 8, nullptr);
        ASSERT_EQ(element.push(test::buffer_of(bytes)), GST_FLOW_OK);
        EXPECT_EQ(element.pull_lines(), converted(bytes, Format::BAY8_A, 64, 64, 64, method));
    }
    g_object_set(*element, "red-gain", 2.0, "green-gain", 0.5, "black", 10u, nullptr);
    ASSERT_EQ(element.push(test::buffer_of(Bytes(64 * 64, 110))), GST_FLOW_OK);
    const Bytes picture = element.pull_lines();
    EXPECT_EQ(int{picture[0]}, 100 * 65535 / 245 >> 8);
    EXPECT_EQ(int{picture[1]}, 50 * 65535 / 245 >> 8);
    EXPECT_EQ(int{picture[2]}, 200 * 65535 / 245 >> 8);
    g_object_set(*element, "black", 255u, nullptr);
    EXPECT_EQ(element.push(test::buffer_of(bytes)), GST_FLOW_ERROR);
    EXPECT_NE(element.error().find("black level is not below white"), std::string::npos);
}

TEST(GStreamerBayer, TimesFlushingAndTheEnd) {
    const Element element("trvilbayer");
    element.take(bgr);
    element.send(bayer("rggb", 8, 8));
    for (int flushes = 0; flushes < 3; ++flushes) {
        GstBuffer* buffer = test::buffer_of(Bytes(64));
        GST_BUFFER_PTS(buffer) = 7 * GST_SECOND;
        GST_BUFFER_DURATION(buffer) = GST_SECOND;
        ASSERT_EQ(element.push(buffer), GST_FLOW_OK);
        GstBuffer* out = element.pull();
        ASSERT_NE(out, nullptr);
        EXPECT_EQ(GST_BUFFER_PTS(out), 7 * GST_SECOND);
        EXPECT_EQ(GST_BUFFER_DURATION(out), GST_SECOND);
        gst_buffer_unref(out);
        gst_harness_push_event(element.harness(), gst_event_new_flush_start());
        EXPECT_EQ(element.push(test::buffer_of(Bytes(64))), GST_FLOW_FLUSHING);
        gst_harness_push_event(element.harness(), gst_event_new_flush_stop(TRUE));
        GstSegment segment;
        gst_segment_init(&segment, GST_FORMAT_TIME);
        gst_harness_push_event(element.harness(), gst_event_new_segment(&segment));
    }
    gst_harness_push_event(element.harness(), gst_event_new_eos());
    EXPECT_EQ(element.push(test::buffer_of(Bytes(64))), GST_FLOW_EOS);
}

// The table of the page has the packings of the caps, and no more.
TEST(GStreamerBayer, ThePageNamesEveryPacking) {
    std::ifstream file(TRVIL_SOURCES "/docs/gstreamer.md");
    const std::string page{std::istreambuf_iterator<char>(file), {}};
    const Element element("trvilbayer");
    GstCaps* caps = gst_pad_get_pad_template_caps(GST_PAD_PEER(element.harness()->srcpad));
    EXPECT_EQ(gst_caps_get_size(caps), 4u);
    for (guint i = 1; i < gst_caps_get_size(caps); ++i) {
        const GstStructure* structure = gst_caps_get_structure(caps, i);
        const GValue* formats = gst_structure_get_value(structure, "format");
        const GValue* packings = gst_structure_get_value(structure, "packing");
        std::string row = std::string("| `") +
                          g_value_get_string(gst_value_list_get_value(formats, 0)) + "`, ... |";
        for (guint k = 0; k < gst_value_list_get_size(packings); ++k)
            row +=
                std::string(" `") + g_value_get_string(gst_value_list_get_value(packings, k)) + "`";
        EXPECT_NE(page.find(row + " |\n"), std::string::npos) << row;
    }
    gst_caps_unref(caps);
}

// A pipeline of its own threads: flushing seeks while it runs, settings that change, and its end.
TEST(GStreamerBayer, SeeksInARunningPipeline) {
    if (!test::load_plugins({"coreelements", "videotestsrc", "bayer"}))
        GTEST_SKIP() << "skipped: install gstreamer1.0-plugins-bad";
    GstElement* pipeline = gst_parse_launch(
        "videotestsrc num-buffers=40 ! video/x-raw,width=321,height=200 ! rgb2bayer ! queue ! "
        "trvilbayer name=bayer threads=2 ! video/x-raw,format=RGBx ! queue ! fakesink",
        nullptr);
    GstElement* element = gst_bin_get_by_name(GST_BIN(pipeline), "bayer");
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    for (guint i = 0; i < 8; ++i) {
        gst_element_get_state(pipeline, nullptr, nullptr, GST_SECOND);
        g_object_set(element, "threads", 1 + i % 3, "black", i, nullptr);
        EXPECT_TRUE(gst_element_seek_simple(pipeline, GST_FORMAT_TIME, GST_SEEK_FLAG_FLUSH, 0));
    }
    GstBus* bus = gst_element_get_bus(pipeline);
    GstMessage* message = gst_bus_timed_pop_filtered(
        bus, 30 * GST_SECOND, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
    ASSERT_NE(message, nullptr);
    EXPECT_EQ(GST_MESSAGE_TYPE(message), GST_MESSAGE_EOS);
    gst_message_unref(message);
    gst_object_unref(bus);
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(element);
    gst_object_unref(pipeline);
}

}  // namespace
