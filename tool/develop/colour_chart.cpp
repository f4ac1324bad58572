#include "tool/develop/colour_chart.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "tool/cli/error.h"
#include "tool/cli/text.h"
#include "tool/develop/settings.h"

namespace trv::tool {
namespace {

constexpr size_t columns = 6, lines = 4, patch_count = columns * lines;
constexpr size_t first_neutral = 18;
constexpr size_t fewest_patches = 12, fewest_neutrals = 3;
constexpr double full = 65535, saturated = 0.98 * full;

using Colour = std::array<double, 3>;

struct Patch {
    const char* name;
    uint8_t srgb[3];
};
// As published for the chart, under D65.
constexpr Patch patches[patch_count] = {
    {"dark skin", {115, 82, 68}},     {"light skin", {194, 150, 130}},
    {"blue sky", {98, 122, 157}},     {"foliage", {87, 108, 67}},
    {"blue flower", {133, 128, 177}}, {"bluish green", {103, 189, 170}},
    {"orange", {214, 126, 44}},       {"purplish blue", {80, 91, 166}},
    {"moderate red", {193, 90, 99}},  {"purple", {94, 60, 108}},
    {"yellow green", {157, 188, 64}}, {"orange yellow", {224, 163, 46}},
    {"blue", {56, 61, 150}},          {"green", {70, 148, 73}},
    {"red", {175, 54, 60}},           {"yellow", {231, 199, 31}},
    {"magenta", {187, 86, 149}},      {"cyan", {8, 133, 161}},
    {"white", {243, 243, 242}},       {"light grey", {200, 200, 200}},
    {"grey", {160, 160, 160}},        {"medium grey", {122, 122, 121}},
    {"dark grey", {85, 85, 85}},      {"black", {52, 52, 52}}};

Failure no_chart(const std::string& why) {
    return {Exit::conversion, "cannot make a matrix from the chart", why,
            "give the corners of the 24 patches at dark skin, bluish green, black and white, in "
            "this order"};
}

double linear_of(uint8_t byte) {
    const double x = byte / 255.0;
    return x <= 0.04045 ? x / 12.92 : std::pow((x + 0.055) / 1.055, 2.4);
}

Colour truth(size_t patch) {
    const uint8_t* srgb = patches[patch].srgb;
    return {linear_of(srgb[0]), linear_of(srgb[1]), linear_of(srgb[2])};
}

Colour times(const Matrix& m, const Colour& c) {
    return {m[0] * c[0] + m[1] * c[1] + m[2] * c[2], m[3] * c[0] + m[4] * c[1] + m[5] * c[2],
            m[6] * c[0] + m[7] * c[1] + m[8] * c[2]};
}

Colour lab(const Colour& linear) {
    constexpr Colour white{0.95047, 1, 1.08883};
    Colour xyz = times(*inverted(srgb_from_xyz), linear);
    for (size_t i = 0; i < 3; ++i) {
        const double x = std::max(0.0, xyz[i] / white[i]);
        xyz[i] = x > 216.0 / 24389 ? std::cbrt(x) : (24389.0 / 27 * x + 16) / 116;
    }
    return {116 * xyz[1] - 16, 500 * (xyz[0] - xyz[1]), 200 * (xyz[1] - xyz[2])};
}

double distance(const Colour& a, const Colour& b) {
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

// From the unit square to any quadrangle, as a picture sees a plane.
class Perspective {
  public:
    explicit Perspective(const std::array<Point, 4>& c) : origin_(c[0]) {
        const Point a{c[1].x - c[2].x, c[1].y - c[2].y}, b{c[3].x - c[2].x, c[3].y - c[2].y};
        const Point s{c[0].x - c[1].x + c[2].x - c[3].x, c[0].y - c[1].y + c[2].y - c[3].y};
        const double area = a.x * b.y - b.x * a.y;
        g_ = (s.x * b.y - b.x * s.y) / area;
        h_ = (a.x * s.y - s.x * a.y) / area;
        along_ = {c[1].x - c[0].x + g_ * c[1].x, c[1].y - c[0].y + g_ * c[1].y};
        down_ = {c[3].x - c[0].x + h_ * c[3].x, c[3].y - c[0].y + h_ * c[3].y};
    }
    Point at(double u, double v) const {
        const double depth = g_ * u + h_ * v + 1;
        return {(along_.x * u + down_.x * v + origin_.x) / depth,
                (along_.y * u + down_.y * v + origin_.y) / depth};
    }

  private:
    Point origin_, along_{}, down_{};
    double g_ = 0, h_ = 0;
};

struct Sample {
    Colour mean{};
    bool usable = true;
};

// The middle of a patch, away from its frame.
Sample take_patch(const Frame& linear, const Perspective& view, size_t patch) {
    constexpr size_t steps = 24;
    constexpr double middle = 0.5;
    const Geometry& g = linear.geometry();
    Sample sample;
    for (size_t i = 0; i < steps * steps; ++i) {
        const auto inside = [&](size_t step) {
            return (1 - middle) / 2 + middle * (double(step) + 0.5) / steps;
        };
        const Point p = view.at((double(patch % columns) + inside(i % steps)) / columns,
                                (double(patch / columns) + inside(i / steps)) / lines);
        const auto x = static_cast<uint32_t>(std::clamp(p.x, 0.0, g.width - 1.0));
        const auto y = static_cast<uint32_t>(std::clamp(p.y, 0.0, g.height - 1.0));
        uint16_t words[3];
        std::memcpy(words, linear.line(y) + size_t{x} * 6, sizeof words);
        for (size_t c = 0; c < 3; ++c) {
            sample.mean[c] += words[c] / full / (steps * steps);
            sample.usable = sample.usable && words[c] < saturated;
        }
    }
    return sample;
}

void check_order(const std::vector<Sample>& samples) {
    for (size_t i = first_neutral + 1; i < patch_count; ++i)
        if (samples[i].mean[1] >= samples[i - 1].mean[1])
            throw no_chart(text("its last line does not get darker from ", patches[i - 1].name,
                                " to ", patches[i].name));
}

// So that gain * colour comes as near as possible to green in the neutral patches.
double gain_of(const std::vector<Sample>& samples, size_t colour) {
    double product = 0, square = 0;
    for (size_t i = first_neutral; i < patch_count; ++i) {
        if (!samples[i].usable) continue;
        product += samples[i].mean[colour] * samples[i].mean[1];
        square += samples[i].mean[colour] * samples[i].mean[colour];
    }
    if (square == 0) throw no_chart("its grey patches are black");
    return product / square;
}

double exposure_of(const std::vector<Sample>& samples) {
    double product = 0, square = 0;
    for (size_t i = first_neutral; i < patch_count; ++i) {
        if (!samples[i].usable) continue;
        product += samples[i].mean[1] * truth(i)[1];
        square += samples[i].mean[1] * samples[i].mean[1];
    }
    return product / square;
}

// Red's and blue's entry of a row; green's is what is missing to 1.
std::array<double, 2> row_of(const std::vector<Sample>& samples, size_t colour) {
    double rr = 0, rb = 0, bb = 0, rt = 0, bt = 0;
    for (size_t i = 0; i < patch_count; ++i) {
        if (!samples[i].usable) continue;
        const Colour& c = samples[i].mean;
        const double r = c[0] - c[1], b = c[2] - c[1], t = truth(i)[colour] - c[1];
        rr += r * r;
        rb += r * b;
        bb += b * b;
        rt += r * t;
        bt += b * t;
    }
    const double determinant = rr * bb - rb * rb;
    if (!(determinant > 1e-9)) throw no_chart("its patches have no colours");
    return {(rt * bb - bt * rb) / determinant, (bt * rr - rt * rb) / determinant};
}

// In steps of 1 / 4096, by which the library multiplies at its fastest.
double rounded(double entry) {
    return std::round(entry * 4096) / 4096;
}

void judge(const std::vector<Sample>& samples, ChartFit* fit) {
    double squares = 0;
    for (size_t i = 0; i < patch_count; ++i) {
        if (!samples[i].usable) continue;
        const Colour found = times(fit->matrix, samples[i].mean), wanted = truth(i);
        squares += std::pow(distance(found, wanted), 2) / 3;
        const double difference = distance(lab(found), lab(wanted));
        fit->difference += difference / double(fit->patches);
        if (difference < fit->largest) continue;
        fit->largest = difference;
        fit->worst = patches[i].name;
    }
    fit->rms = std::sqrt(squares / double(fit->patches));
}

}  // namespace

std::array<Point, 4> corners_named(const std::string& words, uint32_t width, uint32_t height) {
    const auto numbers = numbers_in(words);
    if (!numbers || numbers->size() != 8)
        throw Failure(Exit::usage, text("cannot use the corners \"", words, "\""),
                      "they are eight numbers: x and y of each of the four",
                      "write them as 100,80,700,85,705,480,95,470");
    std::array<Point, 4> corners{};
    for (size_t i = 0; i < 4; ++i) {
        corners[i] = {(*numbers)[2 * i], (*numbers)[2 * i + 1]};
        const Point& p = corners[i];
        if (!(p.x >= 0 && p.y >= 0 && p.x < width && p.y < height))
            throw Failure(Exit::usage, text("the corner ", p.x, ",", p.y, " lies outside"),
                          text("the picture has ", width, "x", height, " pixels"),
                          "x and y are counted from 0");
    }
    size_t left = 0, right = 0;
    for (size_t i = 0; i < 4; ++i) {
        const Point &a = corners[i], &b = corners[(i + 1) % 4], &c = corners[(i + 2) % 4];
        const double turn = (b.x - a.x) * (c.y - b.y) - (b.y - a.y) * (c.x - b.x);
        right += turn > 1;
        left += turn < -1;
    }
    if (left == 4 || right == 4) return corners;
    throw Failure(Exit::usage, text("the corners ", words, " do not go around the chart"),
                  "their order makes no quadrangle without crossing",
                  "give them at dark skin, bluish green, black and white, in this order");
}

ChartFit fit_chart(const Frame& linear, const std::array<Point, 4>& corners) {
    const Perspective view(corners);
    std::vector<Sample> samples;
    for (size_t i = 0; i < patch_count; ++i) samples.push_back(take_patch(linear, view, i));
    ChartFit fit;
    size_t neutrals = 0;
    for (size_t i = 0; i < patch_count; ++i) {
        fit.patches += samples[i].usable;
        neutrals += i >= first_neutral && samples[i].usable;
    }
    if (fit.patches < fewest_patches || neutrals < fewest_neutrals)
        throw no_chart(text("only ", fit.patches, " of its patches are not overexposed, ", neutrals,
                            " of them grey"));
    check_order(samples);
    fit.gains = {gain_of(samples, 0), 1, gain_of(samples, 2)};
    const double exposure = exposure_of(samples);
    for (Sample& sample : samples)
        for (size_t c = 0; c < 3; ++c) sample.mean[c] *= fit.gains[c] * exposure;
    for (size_t row = 0; row < 3; ++row) {
        const auto [red, blue] = row_of(samples, row);
        fit.matrix[3 * row] = rounded(red);
        fit.matrix[3 * row + 2] = rounded(blue);
        fit.matrix[3 * row + 1] = 1 - rounded(red) - rounded(blue);
    }
    if (!inverted(fit.matrix)) throw no_chart("the matrix of its patches is singular");
    judge(samples, &fit);
    const double least = *std::min_element(fit.gains.begin(), fit.gains.end());
    for (double& gain : fit.gains) gain /= least;
    return fit;
}

}  // namespace trv::tool
