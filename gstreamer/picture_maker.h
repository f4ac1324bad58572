// Makes pictures of mosaics by the library's calls: which of them, and in which order, for each of
// the element's formats and settings.
#pragma once

#include <gst/video/video.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "gstreamer/mosaic_caps.h"
#include "trvil/buffer.hpp"
#include "trvil/raw.h"

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

  private:
    struct Job;
    struct PoolEnd {
        void operator()(TRW_Pool* pool) const { TRW_PoolDestroy(&pool); }
    };
    struct RecipeEnd {
        void operator()(TRW_Recipe* recipe) const { TRW_RecipeDestroy(&recipe); }
    };

    // What a recipe is made for.
    struct Kind {
        Mosaic mosaic;
        Settings settings;
        bool grey = false;

        bool operator==(const Kind&) const = default;
    };

    TRW_Pool* pool(uint32_t threads);
    const TRW_Recipe* recipe(const Job& job);
    void convert(const Job& job);
    void convert_by(const Job& job, trvil::Format format, uint32_t phase);
    void develop(const Job& job, const trvil::Buffer& destination);
    void make_colour(const Job& job);
    void make_words_of_565(const Job& job);
    void develop_with_alpha(const Job& job);
    void make_grey(const Job& job);
    Lines with_a_sample_behind(const Job& job);

    std::unique_ptr<TRW_Pool, PoolEnd> pool_;
    uint32_t pool_threads_ = 0;
    std::unique_ptr<TRW_Recipe, RecipeEnd> recipe_;
    Kind kind_;              // of the recipe
    trvil::Buffer between_;  // a picture on its way to another format
    std::vector<uint8_t> copy_;
};

}  // namespace trv::gstreamer
