// The element trvilbayer beside the bare call on the same memory, and beside GStreamer's own
// demosaicing.
#include <gst/check/gstharness.h>
#include <gst/video/video.h>

#include <cstdio>

#include "bench/options.h"
#include "trvil/raw.hpp"

namespace {

using bench::Options;
using trvil::Buffer;
using trvil::Format;

struct Task {
    const char* caps;  // of the mosaic
    trvil::PixelLayout mosaic;
    const char* picture;
    Format format;
    bool has_peer;  // bayer2rgb reads it, and makes means
};

const Task tasks[] = {
    {"rggb", {Format::BAY8_A, 0}, "BGRx", Format::BGRX32, true},
    {"rggb", {Format::BAY8_A, 0}, "BGR", Format::BGR24, false},
    {"rggb12le", {Format::BAY12_A, 0}, "BGRx", Format::BGRX32, false},
    {"rggb12le,packing=12p", {Format::BAY12_A, TRW_PACKING_12p}, "BGR", Format::BGR24, false},
};

// An element that is handed one mosaic again and again.
class Running {
  public:
    Running(const char* element, const Task& task, bench::Size size, GstBuffer* mosaic)
        : harness_(gst_harness_new(element)), mosaic_(mosaic) {
        const std::string shape = ",framerate=25/1,width=" + std::to_string(size.width) +
                                  ",height=" + std::to_string(size.height);
        gst_harness_set_caps_str(
            harness_, (std::string("video/x-bayer,format=") + task.caps + shape).c_str(),
            (std::string("video/x-raw,format=") + task.picture + shape).c_str());
    }
    ~Running() { gst_harness_teardown(harness_); }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    GstBuffer* picture() const {
        return gst_harness_push_and_pull(harness_, gst_buffer_ref(mosaic_));
    }

  private:
    GstHarness* harness_;
    GstBuffer* mosaic_;
};

void measure(const Task& task, const Options& options) {
    const auto [width, height] = options.size;
    const uint64_t line = trvil::line_bytes(task.mosaic, width);
    bench::Memory memory(line * height);
    GstBuffer* mosaic = gst_buffer_new_wrapped_full(
        GST_MEMORY_FLAG_READONLY, memory.data(), line * height, 0, line * height, nullptr, nullptr);
    const trvil::RawPicture from =
        trvil::wrap(memory.data(), line * height, width, height, task.mosaic);
    const Running ours("trvilbayer", task, options.size, mosaic);
    std::vector<double> element, ratios, peer;
    for (unsigned round = 0; round < options.rules.rounds; ++round) {
        GstBuffer* picture = nullptr;
        element.push_back(trv::timing::seconds([&] { picture = ours.picture(); }));
        GstMapInfo map;
        gst_buffer_map(picture, &map, GST_MAP_WRITE);
        Buffer to = Buffer::wrap(map.data, map.size, width, height, task.format);
        const double bare = trv::timing::seconds([&] { trvil::convert(from, to); });
        ratios.push_back(element.back() / bare);
        gst_buffer_unmap(picture, &map);
        gst_buffer_unref(picture);  // the next round writes the same memory
    }
    std::printf("%-22s %-5s %6.2f ms, %5.3f x bare call", task.caps, task.picture,
                trv::timing::median(element) * 1000, trv::timing::median(ratios));
    if (task.has_peer &&
        gst_registry_check_feature_version(gst_registry_get(), "bayer2rgb", 1, 0, 0)) {
        const Running theirs("bayer2rgb", task, options.size, mosaic);
        for (unsigned round = 0; round < options.rules.rounds; ++round)
            peer.push_back(trv::timing::seconds([&] { gst_buffer_unref(theirs.picture()); }));
        std::printf(", bayer2rgb %5.2f times as long",
                    trv::timing::median(peer) / trv::timing::median(element));
    }
    std::printf("\n");
    std::fflush(stdout);
    gst_buffer_unref(mosaic);
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app{"The element trvilbayer beside the bare call and bayer2rgb"};
    bench::add_common(&app, &options);
    options.size = {4096, 3072};
    bench::parse(&app, argc, argv);
    gst_init(nullptr, nullptr);
    gst_object_unref(gst_plugin_load_file(TRVIL_PLUGIN, nullptr));
    for (const Task& task : tasks)
        if (std::string(task.caps).find(options.only) != std::string::npos) measure(task, options);
    return 0;
}
