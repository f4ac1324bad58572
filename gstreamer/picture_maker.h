// Makes pictures of mosaics by the library's calls: which of them, and in which order, for each of
// the element's formats and settings.
#pragma once

#include <gst/video/video.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "gstreamer/mosaic_caps.h"
#include "trvil/raw.hpp"

namespace trv::gstreamer {

struct Settings {
    uint32_t method = TBL_BAYER_METHOD_AVE;  // or TRW_METHOD_GRADIENT
    uint32_t threads = 1;                    // 0: as many as processors
    double gains[3] = {1, 1, 1};             // of red, green and blue
    uint32_t black = 0;                      // in units of the samples

    bool operator==(const Settings&) const = default;
};

// Lines in memory that holds `size` bytes from the first one on.
struct Lines {
    uint8_t* memory;
    uint64_t size;
    uint32_t stride;
};

// The formats a mosaic becomes, those first that a sink shall have that takes several.
const std::vector<GstVideoFormat>& picture_formats();

// Keeps what it made ready for one picture for the next: threads, and the recipe of developing. For
// one thread at a time.
class PictureMaker {
  public:
    // Throws trvil::Error; the destination may be half made then.
    void make(const Mosaic& mosaic, const Lines& source, GstVideoFormat format,
              const Lines& destination, const Settings& settings);

    // Ends the threads and frees the memory.
    void reset();

  private:
    struct Job;
    // What a recipe is made for.
    struct Kind {
        Mosaic mosaic;
        Settings settings;
        bool grey = false;

        bool operator==(const Kind&) const = default;
    };

    const trvil::Pool* pool(uint32_t threads);
    const trvil::Recipe& recipe(const Job& job);
    void convert(const Job& job);
    void convert_as(const Job& job, trvil::Format samples, trvil::Format format);
    void develop(const Job& job, trvil::Buffer destination);
    void make_colour(const Job& job);
    void make_words_of_565(const Job& job);
    void make_words_with_alpha(const Job& job);
    void make_grey(const Job& job);
    Lines with_a_sample_behind(const Job& job);

    std::optional<trvil::Pool> pool_;
    uint32_t pool_threads_ = 1;
    std::optional<trvil::Recipe> recipe_;
    Kind kind_;              // of the recipe
    trvil::Buffer between_;  // a picture on its way to another format
    std::vector<uint8_t> copy_;
};

}  // namespace trv::gstreamer
