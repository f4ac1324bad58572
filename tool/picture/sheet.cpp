#include "tool/picture/sheet.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "tool/picture/font.h"

namespace trv::tool {
namespace {

constexpr uint32_t margin = 12;
constexpr uint32_t border = 4;
constexpr uint32_t letter_scale = 3;
constexpr uint32_t most_letters = 12;
constexpr uint32_t letter_step = (font::width + 1) * letter_scale;
constexpr uint32_t label_height = font::height * letter_scale + margin;

using Bgr = std::array<uint8_t, 3>;
constexpr Bgr paper = {48, 48, 48}, ink = {240, 240, 240}, signal = {80, 220, 80};

void fill(const Frame& frame, uint32_t x, uint32_t y, uint32_t width, uint32_t height, Bgr colour) {
    for (uint32_t row = y; row < y + height; ++row)
        for (uint32_t column = x; column < x + width; ++column)
            std::memcpy(frame.line(row) + size_t{column} * 3, colour.data(), 3);
}

void draw_letter(const Frame& frame, uint32_t x, uint32_t y, char letter, Bgr colour) {
    for (uint32_t row = 0; row < font::height; ++row)
        for (uint32_t column = 0; column < font::width; ++column)
            if (font::is_ink(letter, column, row))
                fill(frame, x + column * letter_scale, y + row * letter_scale, letter_scale,
                     letter_scale, colour);
}

void draw_text(const Frame& frame, uint32_t x, uint32_t y, const std::string& words, Bgr colour) {
    for (const char letter : words) {
        draw_letter(frame, x, y, letter, colour);
        x += letter_step;
    }
}

// Of a square of `step` pixels a side, as far as the picture has it.
uint8_t mean(const Frame& picture, uint32_t x, uint32_t y, uint32_t step, uint32_t channel) {
    const uint32_t right = std::min(x + step, picture.geometry().width);
    const uint32_t bottom = std::min(y + step, picture.geometry().height);
    uint64_t sum = 0;
    for (uint32_t row = y; row < bottom; ++row)
        for (uint32_t column = x; column < right; ++column)
            sum += picture.line(row)[size_t{column} * 3 + channel];
    const uint64_t count = std::max<uint64_t>(1, uint64_t{right - x} * (bottom - y));
    return static_cast<uint8_t>((sum + count / 2) / count);
}

uint32_t shrinking_step(const Geometry& g, uint32_t most_width, uint32_t most_height) {
    const uint32_t across = (g.width + most_width - 1) / most_width;
    const uint32_t down = (g.height + most_height - 1) / most_height;
    return std::max({1u, across, down});
}

Geometry sheet_geometry(uint32_t width, uint32_t height, uint32_t places, uint32_t columns) {
    return tight(format_of(Code::BGR24), columns * width + margin,
                 (places + columns - 1) / columns * height + margin);
}

}  // namespace

Geometry shrunk_geometry(const Geometry& picture, uint32_t most_width, uint32_t most_height) {
    const uint32_t step = shrinking_step(picture, most_width, most_height);
    return tight(*picture.format, std::max(1u, picture.width / step),
                 std::max(1u, picture.height / step));
}

Frame shrunk(const Frame& picture, uint32_t most_width, uint32_t most_height) {
    const uint32_t step = shrinking_step(picture.geometry(), most_width, most_height);
    Frame small(shrunk_geometry(picture.geometry(), most_width, most_height));
    const Geometry& g = small.geometry();
    for (uint32_t y = 0; y < g.height; ++y)
        for (uint32_t i = 0; i < g.width * 3; ++i)
            small.line(y)[i] = mean(picture, i / 3 * step, y * step, step, i % 3);
    return small;
}

Sheet::Sheet(uint32_t picture_width, uint32_t picture_height, uint32_t places, uint32_t columns)
    : columns_(columns),
      width_(std::max(picture_width, most_letters * letter_step) + margin),
      height_(picture_height + label_height + margin),
      frame_(sheet_geometry(width_, height_, places, columns)) {
    fill(frame_, 0, 0, frame_.geometry().width, frame_.geometry().height, paper);
}

void Sheet::put(uint32_t place, const Frame& picture, const std::string& label,
                bool emphasised) const {
    const Geometry& g = picture.geometry();
    const uint32_t x = margin + place % columns_ * width_, y = margin + place / columns_ * height_;
    draw_text(frame_, x, y, label.substr(0, (width_ - margin) / letter_step),
              emphasised ? signal : ink);
    const uint32_t top = y + label_height;
    if (emphasised)
        fill(frame_, x - border, top - border, g.width + 2 * border, g.height + 2 * border, signal);
    for (uint32_t row = 0; row < g.height; ++row)
        std::memcpy(frame_.line(top + row) + size_t{x} * 3, picture.line(row), g.line());
}

}  // namespace trv::tool
