// The rule of the method `gradient`, one pixel at a time: a colour that is missing is the mean of
// its neighbours, corrected by how far the pixel's own colour bends there. Malvar, He and Cutler,
// "High-quality linear interpolation for demosaicing of Bayer-patterned color images", 2004; their
// coefficients, in sixteenths:
//
//     green of a colour site   row colour of a green site   opposite of a colour site
//             -2                          1                          -3
//              4                      -2  0 -2                     4  0  4
//     -2   4   8   4  -2          -2   8 10  8  -2             -3  0 12  0 -3
//              4                      -2  0 -2                     4  0  4
//             -2                          1                          -3
//
// The other colour of a green site is its row colour turned by 90 degrees. Sums are rounded to the
// nearest and cut to the range of the samples.
#pragma once

#include "image/bayer/rule.h"
#include "raw/demosaic/span.h"

namespace trv::raw {

// The samples two places around a pixel: lines top to bottom, columns left to right.
template <typename Sample>
struct GradientWindow {
    const uint8_t* const* line;
    ptrdiff_t column[5];

    int32_t at(unsigned y, unsigned x) const {
        return layout::load<Sample>(line[y] + column[x] * static_cast<ptrdiff_t>(sizeof(Sample)));
    }
    int32_t own() const { return at(2, 2); }
    // Of the two or four samples that are so far away.
    int32_t beside(unsigned far) const { return at(2, 2 - far) + at(2, 2 + far); }
    int32_t upright(unsigned far) const { return at(2 - far, 2) + at(2 + far, 2); }
    int32_t diagonal() const { return at(1, 1) + at(1, 3) + at(3, 1) + at(3, 3); }
};

template <typename Sample>
class Gradient {
  public:
    Gradient(const GradientWindow<Sample>& window, uint32_t most, unsigned shift)
        : w_(window), most_(static_cast<int32_t>(most)), shift_(shift) {}

    bayer::Colours green() const {
        const int32_t common = 10 * w_.own() - 2 * w_.diagonal();
        return {
            colour(16 * w_.own()),
            colour(common + 8 * w_.beside(1) - 2 * w_.beside(2) + w_.upright(2)),
            colour(common + 8 * w_.upright(1) - 2 * w_.upright(2) + w_.beside(2)),
        };
    }
    bayer::Colours other() const {
        const int32_t own = w_.own(), far = w_.beside(2) + w_.upright(2);
        return {
            colour(8 * own + 4 * (w_.beside(1) + w_.upright(1)) - 2 * far),
            colour(16 * own),
            colour(12 * own + 4 * w_.diagonal() - 3 * far),
        };
    }

  private:
    uint32_t colour(int32_t sixteenths) const {
        const int32_t value = (sixteenths + 8) >> 4;
        return static_cast<uint32_t>(value < 0 ? 0 : value > most_ ? most_ : value) >> shift_;
    }

    const GradientWindow<Sample>& w_;
    int32_t most_;
    unsigned shift_;
};

template <typename Sample, typename Layout>
inline void store_gradient(const GradientWindow<Sample>& window, const GradientLines& line,
                           bool is_green, bool row_is_red, uint8_t* out) {
    const Gradient<Sample> gradient(window, line.most, line.shift);
    bayer::store<Layout>(out, is_green ? gradient.green() : gradient.other(), row_is_red);
}

}  // namespace trv::raw
