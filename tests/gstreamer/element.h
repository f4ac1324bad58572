// An element between a source and a sink that the test is.
#pragma once

#include <gst/check/gstharness.h>
#include <gst/video/video.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace test {

// Loads the plugin of this build and no registry; of the system's plugins those named. False: one
// is not there.
inline bool load_plugins(std::initializer_list<const char*> system = {}) {
    static const bool initialised = [] {
        g_setenv("GST_REGISTRY_DISABLE", "yes", TRUE);
        g_setenv("GST_PLUGIN_SYSTEM_PATH", "", TRUE);
        gst_init(nullptr, nullptr);
        gst_object_unref(gst_plugin_load_file(TRVIL_PLUGIN, nullptr));
        return true;
    }();
    for (const char* name : system) {
        const std::string file = std::string(TRVIL_SYSTEM_PLUGINS "/libgst") + name + ".so";
        GstPlugin* plugin = gst_plugin_load_file(file.c_str(), nullptr);
        if (plugin == nullptr) return false;
        gst_object_unref(plugin);
    }
    return initialised;
}

class Element {
  public:
    explicit Element(const char* name)
        : harness_((load_plugins(), gst_harness_new(name))), bus_(gst_bus_new()) {
        gst_element_set_bus(harness_->element, bus_);
        gst_harness_add_propose_allocation_meta(harness_, GST_VIDEO_META_API_TYPE, nullptr);
    }
    ~Element() {
        gst_harness_teardown(harness_);
        gst_object_unref(bus_);
    }
    Element(const Element&) = delete;
    Element& operator=(const Element&) = delete;

    GstHarness* harness() const { return harness_; }
    GstElement* operator*() const { return harness_->element; }

    // Caps that the source sends, and what the sink takes.
    void take(const std::string& caps) const {
        gst_harness_set_sink_caps_str(harness_, caps.c_str());
    }
    void send(const std::string& caps) const {
        gst_harness_set_src_caps_str(harness_, caps.c_str());
    }
    GstFlowReturn push(GstBuffer* buffer) const { return gst_harness_push(harness_, buffer); }
    GstBuffer* pull() const { return gst_harness_try_pull(harness_); }

    // The picture that came out, its lines as they lie in the buffer, without what is behind them.
    std::vector<uint8_t> pull_lines() const {
        GstBuffer* buffer = pull();
        if (buffer == nullptr) return {};
        GstCaps* caps = gst_pad_get_current_caps(harness_->sinkpad);
        GstVideoInfo info;
        gst_video_info_from_caps(&info, caps);
        gst_caps_unref(caps);
        GstVideoFrame frame;
        gst_video_frame_map(&frame, &info, buffer, GST_MAP_READ);
        const auto line = static_cast<size_t>(GST_VIDEO_INFO_COMP_PSTRIDE(&info, 0) * info.width);
        std::vector<uint8_t> lines;
        for (gint y = 0; y < info.height; ++y) {
            const auto* from = static_cast<const uint8_t*>(frame.data[0]) + y * info.stride[0];
            lines.insert(lines.end(), from, from + line);
        }
        gst_video_frame_unmap(&frame);
        gst_buffer_unref(buffer);
        return lines;
    }

    // The text of the first error on the bus, which is empty afterwards.
    std::string error() const {
        std::string text;
        while (GstMessage* message = gst_bus_pop(bus_)) {
            GError* error = nullptr;
            if (text.empty() && GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
                gst_message_parse_error(message, &error, nullptr);
                text = error->message;
                g_error_free(error);
            }
            gst_message_unref(message);
        }
        return text;
    }

  private:
    GstHarness* harness_;
    GstBus* bus_;
};

inline GstBuffer* buffer_of(const std::vector<uint8_t>& bytes) {
    GstBuffer* buffer = gst_buffer_new_allocate(nullptr, bytes.size(), nullptr);
    gst_buffer_fill(buffer, 0, bytes.data(), bytes.size());
    return buffer;
}

inline std::string sized(const std::string& caps, unsigned width, unsigned height) {
    return caps + ",width=" + std::to_string(width) + ",height=" + std::to_string(height) +
           ",framerate=25/1";
}

}  // namespace test
