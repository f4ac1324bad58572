// The element trvildeinterlace, against TIL_FieldToFrame of the field's lines without padding.
#include "tests/gstreamer/element.h"
#include "tests/harness.h"
#include "trvil/buffer.hpp"

namespace {

using test::Element;
using trvil::Buffer;
using trvil::Format;

using Bytes = std::vector<uint8_t>;

struct Layout {
    const char* name;
    Format format;
    unsigned bytes;
};

constexpr Layout layouts[] = {
    {"GRAY8", Format::Mono8, 1}, {"YUY2", Format::YUV422, 2}, {"YVYU", Format::YUV422, 2},
    {"BGR", Format::BGR24, 3},   {"RGB", Format::RGB24, 3},   {"BGRx", Format::BGRX32, 4},
    {"xRGB", Format::XRGB32, 4}, {"RGBA", Format::RGBA32, 4},
};

struct Interlaced {
    Bytes memory;
    unsigned width, height, line, stride;
};

Interlaced any_frame(const Layout& layout, unsigned width, unsigned height, test::Random& random) {
    const unsigned pixels = layout.bytes == 2 ? (width + 1) / 2 * 2 : width;
    const unsigned line = pixels * layout.bytes, stride = (line + 3) / 4 * 4;
    Interlaced frame{Bytes(size_t{stride} * height), width, height, line, stride};
    for (uint8_t& byte : frame.memory) byte = static_cast<uint8_t>(random.bits());
    return frame;
}

Bytes expected_frame(const Layout& layout, const Interlaced& frame, uint32_t method, bool bottom) {
    Bytes field, whole(size_t{frame.line} * frame.height);
    for (unsigned y = bottom; y < frame.height; y += 2)
        field.insert(field.end(), frame.memory.begin() + y * frame.stride,
                     frame.memory.begin() + y * frame.stride + frame.line);
    const unsigned pixels = frame.line / layout.bytes;
    const Buffer from =
        Buffer::wrap(field.data(), field.size(), pixels, frame.height / 2, layout.format);
    const Buffer to = Buffer::wrap(whole.data(), whole.size(), pixels, frame.height, layout.format);
    EXPECT_EQ(TIL_FieldToFrame(from.handle(), to.handle(), method, bottom ? 0 : 1), TRV_STATUS_OK);
    Bytes lines;  // without the pixel that makes odd lines of YUV422 whole pairs
    for (unsigned y = 0; y < frame.height; ++y)
        lines.insert(lines.end(), whole.begin() + y * frame.line,
                     whole.begin() + y * frame.line + frame.width * layout.bytes);
    return lines;
}

// pull_lines asks for the first component's distance, which is a pixel's bytes but for YUV422's.
std::string caps_of(const Layout& layout, const Interlaced& frame, const char* mode) {
    return test::sized(std::string("video/x-raw,interlace-mode=") + mode + ",format=" + layout.name,
                       frame.width, frame.height);
}

TEST(GStreamerDeinterlace, EveryFormatMethodAndWidth) {
    test::Random random(test::seed());
    for (const Layout& layout : layouts)
        for (uint32_t method = TIL_FIELD_LINE_DUP; method <= TIL_FIELD_MEDIAN; ++method) {
            if (method == TIL_FIELD_MEDIAN && layout.bytes == 4) continue;
            const bool bottom = random.one_in(2);
            const Element element("trvildeinterlace");
            g_object_set(*element, "method", method, "fields", int{bottom}, nullptr);
            for (unsigned width = 4; width <= 67; ++width) {
                const Interlaced frame = any_frame(layout, width, 2 * random.between(1, 5), random);
                element.send(caps_of(layout, frame, "interleaved"));
                ASSERT_EQ(element.push(test::buffer_of(frame.memory)), GST_FLOW_OK)
                    << element.error();
                ASSERT_EQ(element.pull_lines(), expected_frame(layout, frame, method, bottom))
                    << layout.name << " method " << method << " width " << width;
            }
        }
}

// The field that was first in time comes first, each for half of the time.
TEST(GStreamerDeinterlace, BothFieldsMakeFrames) {
    test::Random random(test::seed());
    const Layout& layout = layouts[3];
    for (const bool top_first : {false, true}) {
        const Element element("trvildeinterlace");
        g_object_set(*element, "fields", 2, nullptr);
        const Interlaced frame = any_frame(layout, 21, 12, random);
        element.send(caps_of(layout, frame, "interleaved"));
        for (int i = 0; i < 2; ++i) {
            GstBuffer* buffer = test::buffer_of(frame.memory);
            GST_BUFFER_PTS(buffer) = 40 * GST_MSECOND * static_cast<GstClockTime>(i);
            GST_BUFFER_DURATION(buffer) = 40 * GST_MSECOND;
            if (top_first) GST_BUFFER_FLAG_SET(buffer, GST_VIDEO_BUFFER_FLAG_TFF);
            ASSERT_EQ(element.push(buffer), GST_FLOW_OK);
        }
        GstCaps* caps = gst_pad_get_current_caps(element.harness()->sinkpad);
        GstVideoInfo info;
        gst_video_info_from_caps(&info, caps);
        gst_caps_unref(caps);
        EXPECT_EQ(info.fps_n, 50);
        EXPECT_EQ(info.interlace_mode, GST_VIDEO_INTERLACE_MODE_PROGRESSIVE);
        EXPECT_EQ(gst_harness_buffers_in_queue(element.harness()), 4u);
        EXPECT_EQ(element.pull_lines(),
                  expected_frame(layout, frame, TIL_FIELD_MEDIAN, !top_first));
        GstBuffer* second = element.pull();
        EXPECT_EQ(GST_BUFFER_PTS(second), 20 * GST_MSECOND);
        EXPECT_EQ(GST_BUFFER_DURATION(second), 20 * GST_MSECOND);
        EXPECT_FALSE(GST_BUFFER_FLAG_IS_SET(second, GST_VIDEO_BUFFER_FLAG_TFF));
        gst_buffer_unref(second);
        element.pull_lines();
        EXPECT_EQ(element.pull_lines(), expected_frame(layout, frame, TIL_FIELD_MEDIAN, top_first));
    }
}

// A buffer for each field: those asked for become frames, without a copy where lines have no
// padding.
TEST(GStreamerDeinterlace, FieldsInBuffersOfTheirOwn) {
    test::Random random(test::seed());
    const Layout& layout = layouts[3];
    for (const int fields : {0, 1, 2})
        for (const unsigned width : {20u, 21u}) {
            const Element element("trvildeinterlace");
            g_object_set(*element, "fields", fields, nullptr);
            const Interlaced frame = any_frame(layout, width, 12, random);
            element.send(test::sized(
                "video/x-raw(format:Interlaced),interlace-mode=alternate,format=BGR", width, 12));
            for (const bool bottom : {false, true}) {
                Bytes lines;
                for (unsigned y = bottom; y < frame.height; y += 2)
                    lines.insert(lines.end(), frame.memory.begin() + y * frame.stride,
                                 frame.memory.begin() + (y + 1) * frame.stride);
                GstBuffer* buffer = test::buffer_of(lines);
                GST_BUFFER_FLAG_SET(buffer, bottom ? GST_VIDEO_BUFFER_FLAG_BOTTOM_FIELD
                                                   : GST_VIDEO_BUFFER_FLAG_TOP_FIELD);
                ASSERT_EQ(element.push(buffer), GST_FLOW_OK) << element.error();
                if (fields == 2 || fields == int{bottom}) {
                    EXPECT_EQ(element.pull_lines(),
                              expected_frame(layout, frame, TIL_FIELD_MEDIAN, bottom));
                }
                EXPECT_EQ(gst_harness_buffers_in_queue(element.harness()), 0u);
            }
        }
}

TEST(GStreamerDeinterlace, WholeFramesAmongInterlacedOnesStay) {
    test::Random random(test::seed());
    const Element element("trvildeinterlace");
    const Interlaced frame = any_frame(layouts[0], 16, 8, random);
    element.send(caps_of(layouts[0], frame, "mixed"));
    ASSERT_EQ(element.push(test::buffer_of(frame.memory)), GST_FLOW_OK);
    EXPECT_EQ(element.pull_lines(), frame.memory);
    GstBuffer* interlaced = test::buffer_of(frame.memory);
    GST_BUFFER_FLAG_SET(interlaced, GST_VIDEO_BUFFER_FLAG_INTERLACED);
    ASSERT_EQ(element.push(interlaced), GST_FLOW_OK);
    EXPECT_EQ(element.pull_lines(), expected_frame(layouts[0], frame, TIL_FIELD_MEDIAN, false));
}

// The library's median of 4-byte pixels is distorted, so they are not offered, and refused in
// words.
TEST(GStreamerDeinterlace, LeavesOutTheMedianOfFourBytes) {
    const Element element("trvildeinterlace");
    GstCaps* offered = gst_pad_peer_query_caps(element.harness()->srcpad, nullptr);
    GstCaps* four = gst_caps_from_string("video/x-raw,format={BGRx,xRGB,RGBA,BGRA}");
    EXPECT_FALSE(gst_caps_can_intersect(offered, four));
    gst_caps_unref(offered);
    gst_caps_unref(four);
    element.send(test::sized("video/x-raw,format=BGRx,interlace-mode=interleaved", 8, 8));
    EXPECT_EQ(element.push(test::buffer_of(Bytes(256))), GST_FLOW_NOT_NEGOTIATED);
}

}  // namespace
