#include "raw/develop/curve.h"

namespace trv::raw {
namespace {

constexpr unsigned terms = 4;
constexpr double white = 65535, ln2 = 0.69314718055994530942;

// x to the power of e for positive x, to some 15 digits: the mathematical library is no part of
// what this one loads.
double power(double x, double e) {
    int exponent = 0;
    for (; x >= 1.5; x /= 2) ++exponent;
    for (; x < 0.75; x *= 2) --exponent;
    // The logarithm as 2 artanh((x - 1) / (x + 1)).
    const double s = (x - 1) / (x + 1);
    double logarithm = 0;
    for (int k = 25; k > 0; k -= 2) logarithm = logarithm * s * s + 2.0 / k;
    const double bits = e * (exponent + logarithm * s / ln2);
    int whole = static_cast<int>(bits);
    double result = 1;
    for (int k = 18; k > 0; --k) result = 1 + result * (bits - whole) * ln2 / k;
    for (; whole > 0; --whole) result *= 2;
    for (; whole < 0; ++whole) result /= 2;
    return result;
}

double exact(CurveKind kind, double gamma, double word) {
    const double x = word / white;
    if (x <= 0) return 0;
    if (kind == CurveKind::gamma) return white * power(x, 1 / gamma);
    // IEC 61966-2-1.
    return white * (x <= 0.0031308 ? 12.92 * x : 1.055 * power(x, 1 / 2.4) - 0.055);
}

// cos(k pi / 8) for odd k: the Chebyshev nodes of a cubic polynomial.
constexpr double nodes[terms] = {-0.92387953251128675613, -0.38268343236508977173,
                                 0.38268343236508977173, 0.92387953251128675613};

struct Points {
    unsigned count;
    double x[terms], y[terms];
};

// Words `first` to `last`: all of them where they are few. Zero has the part of 2, as no word's
// exponent is as low.
Points points_of(CurveKind kind, double gamma, unsigned first, unsigned last) {
    Points p{};
    const unsigned count = last - first + 1;
    if (first == 2) p.x[p.count++] = 0;
    if (count <= terms)
        for (unsigned word = first; word <= last; ++word) p.x[p.count++] = word;
    else
        for (const double node : nodes)
            p.x[p.count++] = (first + last) / 2.0 + node * (last - first) / 2.0;
    for (unsigned i = 0; i < p.count; ++i) p.y[i] = exact(kind, gamma, p.x[i]);
    return p;
}

// The polynomial through points, by Newton's divided differences.
void interpolate(Points p, unsigned part, Curve* curve) {
    for (unsigned step = 1; step < p.count; ++step)
        for (unsigned i = p.count - 1; i >= step; --i)
            p.y[i] = (p.y[i] - p.y[i - 1]) / (p.x[i] - p.x[i - step]);
    double c[terms] = {};
    for (unsigned i = p.count; i-- > 0;) {
        for (unsigned k = terms - 1; k > 0; --k) c[k] = c[k - 1] - c[k] * p.x[i];
        c[0] = p.y[i] - c[0] * p.x[i];
    }
    for (unsigned k = 0; k < terms; ++k) curve->coefficient[k][part] = static_cast<float>(c[k]);
}

unsigned part_of(unsigned word) {
    return __builtin_bit_cast(uint32_t, static_cast<float>(word)) >> 22 & (Curve::parts - 1);
}

void fit(CurveKind kind, double gamma, Curve* curve) {
    for (unsigned first = 1, last; first <= 0xFFFF; first = last + 1) {
        last = first;
        while (last < 0xFFFF && part_of(last + 1) == part_of(first)) ++last;
        interpolate(points_of(kind, gamma, first, last), part_of(first), curve);
    }
}

uint16_t nearest(CurveKind kind, double gamma, unsigned word) {
    const double value = exact(kind, gamma, word) + 0.5;
    return value >= white ? uint16_t{0xFFFF} : static_cast<uint16_t>(value);
}

}  // namespace

void make_curve(CurveKind kind, double gamma, Curve* curve) {
    fit(kind, gamma, curve);
    curve->has_polynomials = true;
    for (unsigned word = 0; word <= 0xFFFF; ++word) {
        const uint16_t rounded = nearest(kind, gamma, word);
        const uint16_t bent = bent_by_polynomial(*curve, static_cast<uint16_t>(word));
        curve->word[word] = bent;
        if (bent > rounded + 1 || rounded > bent + 1) curve->has_polynomials = false;
    }
    if (curve->has_polynomials) return;
    for (unsigned word = 0; word <= 0xFFFF; ++word) curve->word[word] = nearest(kind, gamma, word);
}

}  // namespace trv::raw
