#include "tool/guess/phase.h"

#include <cstdlib>
#include <cstring>

#include "tool/picture/samples.h"

namespace trv::tool {
namespace {

// In grey scenes both diagonals differ by noise and texture alone, which makes them equal.
constexpr double clear_ratio = 1.1;

template <typename Word>
int64_t sample(const Frame& frame, uint32_t x, uint32_t y) {
    Word word;
    std::memcpy(&word, frame.line(y) + size_t{x} * sizeof word, sizeof word);
    return word;
}

template <typename Word>
Diagonals compare(const Frame& frame) {
    const Geometry& g = frame.geometry();
    int64_t down = 0, up = 0, blocks = 0;
    for (uint32_t y = 0; y + 1 < g.height; y += 2)
        for (uint32_t x = 0; x + 1 < g.width; x += 2) {
            down += std::abs(sample<Word>(frame, x, y) - sample<Word>(frame, x + 1, y + 1));
            up += std::abs(sample<Word>(frame, x + 1, y) - sample<Word>(frame, x, y + 1));
            ++blocks;
        }
    const auto mean = [blocks](int64_t sum) {
        return static_cast<double>(sum) / static_cast<double>(blocks == 0 ? 1 : blocks);
    };
    return {mean(down), mean(up)};
}

}  // namespace

Diagonals compare_diagonals(const Frame& mosaic) {
    return sample_layout(*mosaic.geometry().format, Phase::A)->bytes == 1
               ? compare<uint8_t>(mosaic)
               : compare<uint16_t>(mosaic);
}

bool tells(const Diagonals& d) {
    return d.down > d.up * clear_ratio || d.up > d.down * clear_ratio;
}

bool fits(const Diagonals& d, Phase phase) {
    const bool green_is_up = phase == Phase::A || phase == Phase::D;
    return tells(d) && green_is_up == (d.up < d.down);
}

}  // namespace trv::tool
