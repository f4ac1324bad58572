#include "tool/files/lines.h"

namespace trv::tool {

PictureLines::PictureLines(const Frame& frame)
    : frame_(frame),
      layout_(*sample_layout(*frame.geometry().format, Phase::A)),
      samples_(frame.geometry().format->family == Family::grey ? 1 : 3),
      places_{place_of(layout_, Channel::red), place_of(layout_, Channel::green),
              place_of(layout_, Channel::blue)},
      line_(size_t{frame.geometry().width} * samples_ * layout_.bytes) {}

const uint8_t* PictureLines::get(uint32_t y) {
    const uint8_t* pixel = frame_.line(y);
    uint8_t* out = line_.data();
    for (uint32_t x = 0; x < frame_.geometry().width; ++x) {
        for (uint32_t i = 0; i < samples_; ++i)
            for (uint32_t byte = layout_.bytes; byte-- > 0;)
                *out++ = pixel[places_[i] * layout_.bytes + byte];
        pixel += size_t{layout_.per_pixel} * layout_.bytes;
    }
    return line_.data();
}

}  // namespace trv::tool
