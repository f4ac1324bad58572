// Settings made ready: what is taken off every sample, its factor, the samples to be replaced, the
// matrix and the curve.
#pragma once

#include "image/exports/buffer.h"
#include "image/format/format.h"
#include "image/format/job.h"
#include "image/format/members.h"
#include "raw/develop/arithmetic.h"
#include "raw/packing.h"
#include "trvil/raw.h"

namespace trv::raw {

// How samples lie in pictures.
struct SampleSource {
    const Packing* packing;  // null: bytes or words
    uint32_t first;          // place of a line's first pixel in its group
    uint8_t bits;
    uint8_t step;  // pixels to the next sample of the same colour: 1 of grey, 2 of a mosaic
    Phase phase;   // of a mosaic

    bool is_mosaic() const { return step == 2; }
    bool is_bytes() const { return packing == nullptr && bits == 8; }
    uint64_t line_bytes(uint32_t width) const {
        if (packing != nullptr) return raw::line_bytes(*packing, first, width);
        return uint64_t{width} * (is_bytes() ? 1 : 2);
    }
    uint16_t most() const { return static_cast<uint16_t>((1u << bits) - 1); }
};

// A defect and its nearest good samples of the same colour: which of left, right, above and below,
// as bits, and how far they are.
struct Repair {
    uint32_t x, y;
    uint8_t directions, distance;
};

// One word for each pixel of a line: of every line, or of the even lines and of the odd ones.
class WordPlane {
  public:
    WordPlane() = default;
    ~WordPlane();
    WordPlane(const WordPlane&) = delete;
    WordPlane& operator=(const WordPlane&) = delete;

    bool allocate(uint32_t width, uint32_t height, bool every_line);
    uint16_t* line(uint32_t y) const { return words_ + size_t{width_} * (every_line_ ? y : y % 2); }
    uint32_t lines(uint32_t height) const { return every_line_ || height < 2 ? height : 2; }

  private:
    uint16_t* words_ = nullptr;
    uint32_t width_ = 0;
    bool every_line_ = false;
};

}  // namespace trv::raw

struct TRW_Recipe {
    TRW_Recipe() = default;
    ~TRW_Recipe();
    TRW_Recipe(const TRW_Recipe&) = delete;
    TRW_Recipe& operator=(const TRW_Recipe&) = delete;

    trv::raw::SampleSource source{};
    uint32_t format = 0;  // of the source
    uint32_t packing = 0;
    uint32_t width = 0, height = 0;
    trv::bayer::Method method{};  // of a mosaic
    trv::raw::WordPlane offset, high, low;
    trv::raw::Repair* repairs = nullptr;  // line by line
    size_t repair_count = 0;
    bool has_matrix = false;
    trv::raw::Matrix matrix{};
    trv::raw::Curve* curve = nullptr;  // null: none

    // The first repair of line y or of a later one.
    const trv::raw::Repair* repairs_from(uint32_t y) const;
};
