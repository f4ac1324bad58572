// The rows of the vector levels. The last vector of a line overlaps the one before it; what is
// changed in place begins anew there, with what was read before that was changed.
#pragma once

#include "image/simd/vec.h"
#include "raw/develop/row.h"

namespace trv::TRV_LEVEL {
namespace {

constexpr size_t words = sizeof(U16) / 2;

TRV_INLINE U16 words_at(const uint16_t* at) {
    return load<U16>(reinterpret_cast<const uint8_t*>(at));
}
TRV_INLINE void put_words(uint16_t* at, U16 v) {
    store(reinterpret_cast<uint8_t*>(at), v);
}

using HalfU8 = VecOf<uint8_t, sizeof(U16) / 2>;

TRV_INLINE U16 widened(HalfU8 v) {
    return __builtin_convertvector(v, U16);
}

// All ones where a < b.
TRV_INLINE U16 is_less(U16 a, U16 b) {
    return as<U16>(a < b);
}

// raw::corrected() in 16-bit lanes: the upper and the lower half of the product, with carries.
TRV_INLINE U16 corrected(const raw::SampleLine& line, size_t x, U16 sample) {
    const U16 offset = words_at(line.offset + x), high = words_at(line.high + x),
              low = words_at(line.low + x);
    const U16 value = min(sample, splat<U16>(line.limit));
    const U16 above = (max(value, offset) - offset) << static_cast<uint16_t>(line.shift);
    const U16 part = mul_high(above, low), sum = above * high + part,
              rounded = sum + splat<U16>(1u << 10);
    const U16 top = mul_high(above, high) - is_less(sum, part) - is_less(rounded, sum);
    return (top << 5 | rounded >> 11) | is_less(splat<U16>((1u << 11) - 1), top);
}

// Calls of f(x) with x in steps of a vector, the last one where the line ends.
template <typename F>
TRV_INLINE void for_vectors(size_t width, F f) {
    const size_t last = width - words;
    for (size_t x = 0; x < last; x += words) f(x);
    f(last);
}

void correct_words(const raw::SampleLine& given) {
    if (given.width < words) return fallback::develop_rows.correct_words(given);
    const raw::SampleLine line = given;
    for_vectors(line.width, [&](size_t x) TRV_INLINE_LAMBDA {
        put_words(line.out + x, corrected(line, x, load<U16>(line.source + 2 * x)));
    });
}

void correct_bytes(const raw::SampleLine& given) {
    if (given.width < words) return fallback::develop_rows.correct_bytes(given);
    const raw::SampleLine line = given;
    for_vectors(line.width, [&](size_t x) TRV_INLINE_LAMBDA {
        put_words(line.out + x, corrected(line, x, widened(load<HalfU8>(line.source + x))));
    });
}

// One row of the matrix for all lanes. Words are 32768 less than they are, so that they are signed;
// `more` is what that takes off the sums, and half of the last bit that is kept.
class VectorRow {
  public:
    TRV_INLINE explicit VectorRow(const raw::MatrixRow& row)
        : high_(row.high),
          low_(row.low),
          more_high_(more(row.high) + splat<U32>(1u << 11)),
          more_low_(more(row.low)) {}

    template <bool Short>
    TRV_INLINE U16 operator()(const WordPairs& ab, const WordPairs& c) const {
        DwordHalves sum = products(ab, high_.ab) + products(c, high_.c) + more_high_;
        if constexpr (!Short)
            sum = sum + shifted(products(ab, low_.ab) + products(c, low_.c) + more_low_, 14);
        const DwordHalves whole = shifted(sum, 12);
        return saturate_parts(as<I32>(whole.low), as<I32>(whole.high));
    }

  private:
    struct Entries {
        TRV_INLINE explicit Entries(const int16_t (&e)[3])
            : ab(pair(e[0], e[1])), c(pair(e[2], 0)) {}
        TRV_INLINE static U32 pair(int first, int second) {
            return splat<U32>((static_cast<uint32_t>(first) & 0xFFFF) |
                              static_cast<uint32_t>(second) << 16);
        }
        U32 ab, c;
    };

    TRV_INLINE static U32 more(const int16_t (&e)[3]) {
        return splat<U32>(static_cast<uint32_t>(e[0] + e[1] + e[2]) << 15);
    }

    Entries high_, low_;
    U32 more_high_, more_low_;
};
static_assert(raw::matrix_high_bits == 12 && raw::matrix_bits - raw::matrix_high_bits == 14);

struct Unchanged {
    static constexpr bool words = false;
    TRV_INLINE U8 operator()(U8 v) const { return v; }
};

template <int Channel>
TRV_INLINE U16 channel(const uint8_t* colours) {
    using M = Map<6, 2 * Channel, 2 * Channel + 1>;
    return as<U16>(gather<M, 0, 3 * sizeof(U16)>(colours, Unchanged{}));
}

template <bool Short>
TRV_INLINE void mix_vectors(uint8_t* colours, size_t count, const raw::Matrix& matrix) {
    const VectorRow first(matrix.row[0]), second(matrix.row[1]), third(matrix.row[2]);
    const auto read = [&](size_t i) TRV_INLINE_LAMBDA {
        const uint8_t* at = colours + 6 * i;
        return Bgr<U16>{channel<0>(at), channel<1>(at), channel<2>(at)};
    };
    const auto write = [&](size_t i, const Bgr<U16>& c) TRV_INLINE_LAMBDA {
        const U16 middle = splat<U16>(0x8000);
        const WordPairs ab = in_pairs(c.b ^ middle, c.g ^ middle),
                        c_ = in_pairs(c.r ^ middle, U16{});
        store_three_words(colours + 6 * i, first.template operator()<Short>(ab, c_),
                          second.template operator()<Short>(ab, c_),
                          third.template operator()<Short>(ab, c_));
    };
    const size_t last = count - words;
    const Bgr<U16> at_last = read(last);
    for (size_t i = 0; i < last; i += words) write(i, read(i));
    write(last, at_last);
}

void mix(uint8_t* colours, size_t count, const raw::Matrix& matrix) {
    if (count < words) return fallback::develop_rows.mix(colours, count, matrix);
    matrix.is_short ? mix_vectors<true>(colours, count, matrix)
                    : mix_vectors<false>(colours, count, matrix);
}

template <typename Curve>
TRV_INLINE void bend_vectors(uint8_t* bytes, size_t count, const Curve& curve) {
    const auto bent = cubics(curve.coefficient);
    const size_t last = count - words;
    const U16 at_last = load<U16>(bytes + 2 * last);
    for (size_t i = 0; i < last; i += words) store(bytes + 2 * i, bent(load<U16>(bytes + 2 * i)));
    store(bytes + 2 * last, bent(at_last));
}

// By polynomials where their tables are registers; elsewhere the table of words is as quick.
void bend(uint8_t* bytes, size_t count, const raw::Curve& curve) {
    if constexpr (has_cubics)
        if (curve.has_polynomials && count >= words) return bend_vectors(bytes, count, curve);
    fallback::develop_rows.bend(bytes, count, curve);
}

}  // namespace
}  // namespace trv::TRV_LEVEL
