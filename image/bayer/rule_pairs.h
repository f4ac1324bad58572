// The rules for 8-bit samples in pairs: a 16-bit lane holds a pixel pair p, q = p + 1, p odd. A
// load at p - 1 has the left neighbour of p below and p above in each lane, a load at p + 1 has q
// and its right neighbour: two loads of a line give all that a pair needs of it, and only the sites
// that need a mean of four compute one.
#pragma once

#include "image/bayer/rule_vec.h"

namespace trv::TRV_LEVEL {
namespace {

// The colours of one pixel of each pair, as words, or the bits below the average in each.
template <typename T>
struct Colours {
    T green, row, other;
};

struct Pairs {
    Colours<U16> first, second;
};
struct PairBits {
    Colours<unsigned> first, second;
};

// The first and the second bytes of pairs of bytes, as words.
TRV_INLINE U16 low(U8 v) {
    return as<U16>(v) & splat<U16>(0xFF);
}
TRV_INLINE U16 high(U8 v) {
    return as<U16>(v) >> 8;
}

// Samples p - 1 (or p + 1) and p (or p + 2) of the lanes.
struct Lane {
    TRV_INLINE explicit Lane(U8 v) : low(trv::TRV_LEVEL::low(v)), high(trv::TRV_LEVEL::high(v)) {}
    U16 low, high;
};

// What a pair sees of a line: p - 1, p from the left load, q, q + 1 from the right one.
struct PairLine {
    TRV_INLINE PairLine(const uint8_t* line, size_t x)
        : left(samples<U8>(line, x - 1)), right(samples<U8>(line, x + 1)) {}
    TRV_INLINE U16 before_p() const { return left.low; }
    TRV_INLINE U16 p() const { return left.high; }
    TRV_INLINE U16 q() const { return right.low; }
    TRV_INLINE U16 behind_q() const { return right.high; }

    Lane left, right;
};

template <bayer::SpanRule M, bool GreenFirst>
struct PairRule;

template <bool GreenFirst>
struct PairRule<bayer::means, GreenFirst> {
    static constexpr Colours<unsigned> green_site{0, 1, 1}, colour_site{2, 0, 2};
    static constexpr PairBits bits{GreenFirst ? colour_site : green_site,
                                   GreenFirst ? green_site : colour_site};

    TRV_INLINE static Pairs sums(const bayer::Lines& l, size_t x) {
        const PairLine line(l.line, x), above(l.above, x), below(l.below, x);
        const U16 upright_p = above.p() + below.p(), upright_q = above.q() + below.q();
        if constexpr (GreenFirst)
            return {{line.before_p() + line.q() + upright_p, line.p(),
                     above.before_p() + below.before_p() + upright_q},
                    {line.q(), line.p() + line.behind_q(), upright_q}};
        else
            return {{line.p(), line.before_p() + line.q(), upright_p},
                    {line.p() + line.behind_q() + upright_q, line.q(),
                     upright_p + above.behind_q() + below.behind_q()}};
    }
};

template <bool GreenFirst>
struct PairRule<bayer::edge_means, GreenFirst> {
    static constexpr Colours<unsigned> green_site{0, 1, 0}, colour_site{1, 0, 1};
    static constexpr PairBits bits{GreenFirst ? colour_site : green_site,
                                   GreenFirst ? green_site : colour_site};

    TRV_INLINE static Pairs sums(const bayer::Lines& l, size_t x) {
        const PairLine line(l.line, x), beyond(l.above, x);
        const U16 beside_p = line.before_p() + line.q(), beside_q = line.p() + line.behind_q();
        if constexpr (GreenFirst)
            return {{beside_p, line.p(), beyond.before_p() + beyond.q()},
                    {line.q(), beside_q, beyond.q()}};
        else
            return {{line.p(), beside_p, beyond.p()},
                    {beside_q, line.q(), beyond.p() + beyond.behind_q()}};
    }
};

// A 5-6-5 word of sums: no channel is shifted twice.
TRV_INLINE U16 word_of(const Bgr<U16>& sum, const Bgr<unsigned>& bits) {
    return (sum.r << static_cast<uint16_t>(8 - bits.r) & splat<U16>(0xF800)) |
           (sum.g << static_cast<uint16_t>(3 - bits.g) & splat<U16>(0x07E0)) |
           sum.b >> static_cast<uint16_t>(3 + bits.b);
}

TRV_INLINE Bgr<U16> averages(const Bgr<U16>& sum, const Bgr<unsigned>& bits) {
    return {sum.b >> static_cast<uint16_t>(bits.b), sum.g >> static_cast<uint16_t>(bits.g),
            sum.r >> static_cast<uint16_t>(bits.r)};
}

// The three words of a pair of b, g, r, b, g, r.
TRV_INLINE void store_three(uint8_t* out, const Bgr<U16>& p, const Bgr<U16>& q) {
    store_three_words(out, p.b | p.g << 8, p.r | q.b << 8, q.g | q.r << 8);
}

TRV_INLINE U8 joined(U16 first, U16 second) {
    return as<U8>(first | second << 8);
}

// The step of a line by one of these rules.
template <bayer::SpanRule M, bool GreenFirst>
struct PairStep {
    template <bayer::SpanLayout L, bool RowIsRed>
    TRV_INLINE static void step(const bayer::Lines& line, size_t x, uint8_t* out,
                                const SiteParity<GreenFirst>&) {
        using Rule = PairRule<M, GreenFirst>;
        const auto channels_of = [](const auto& c) TRV_INLINE_LAMBDA {
            return channels<RowIsRed>(c.green, c.row, c.other);
        };
        const Pairs pairs = Rule::sums(line, x);
        const auto sum_p = channels_of(pairs.first), sum_q = channels_of(pairs.second);
        const auto bits_p = channels_of(Rule::bits.first), bits_q = channels_of(Rule::bits.second);
        const Bgr<U16> p = averages(sum_p, bits_p), q = averages(sum_q, bits_q);
        if constexpr (L == bayer::bgr24)
            store_three(out, p, q);
        else if constexpr (L == bayer::bgrx32)
            store_three_of_four(out, joined(p.b, q.b), joined(p.g, q.g), joined(p.r, q.r));
        else
            store_in_turn(out, word_of(sum_p, bits_p), word_of(sum_q, bits_q));
    }
};

}  // namespace
}  // namespace trv::TRV_LEVEL
