#include "tool/develop/developer.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "tool/cli/error.h"
#include "tool/cli/text.h"
#include "tool/develop/reference.h"

namespace trv::tool {
namespace {

constexpr double full = 65535;

size_t site_of(uint32_t x, uint32_t y) {
    return y % 2 * 2 + x % 2;
}

// The mean of each site, or of grey of all of it, rounded.
std::array<uint32_t, 4> levels_of(const Frame& dark, bool is_mosaic) {
    const Geometry& g = dark.geometry();
    const uint32_t bytes = sample_bytes(*g.format);
    std::array<uint64_t, 4> sum{}, count{};
    for (uint32_t y = 0; y < g.height; ++y)
        for (uint32_t x = 0; x < g.width; ++x) {
            const uint8_t* sample = dark.line(y) + size_t{x} * bytes;
            const size_t site = is_mosaic ? site_of(x, y) : 0;
            sum[site] += bytes == 1 ? sample[0] : sample[0] | uint32_t{sample[1]} << 8;
            ++count[site];
        }
    std::array<uint32_t, 4> levels{};
    for (size_t i = 0; i < 4; ++i)
        if (count[i] != 0) levels[i] = static_cast<uint32_t>((sum[i] + count[i] / 2) / count[i]);
    return levels;
}

Gains none_below_one(Gains gains) {
    const double least = *std::min_element(gains.begin(), gains.end());
    for (double& gain : gains) gain /= least;
    return gains;
}

// Mosaics of whole words, for samples that fill them.
SampleLayout layout_of_words(bool is_mosaic, Phase phase) {
    return *sample_layout(format_of(is_mosaic ? Code::BAY16 : Code::Mono16), phase);
}

Failure no_point(const Tuning& tuning, const std::string& why) {
    return {Exit::conversion, text("no white balance from the point ", tuning.x, ",", tuning.y),
            why, "choose a grey that is neither dark nor overexposed, or check --phase"};
}

// The means of the colours around a point, in a square that is cut at the borders.
Gains gains_at(const Frame& words, const SampleLayout& layout, const Tuning& tuning) {
    constexpr uint32_t reach = 8;
    const Geometry& g = words.geometry();
    std::array<double, channel_count> sum{}, count{};
    bool saturated = false;
    for (uint32_t y = tuning.y - std::min(tuning.y, reach);
         y < std::min(g.height, tuning.y + reach); ++y)
        for (uint32_t x = tuning.x - std::min(tuning.x, reach);
             x < std::min(g.width, tuning.x + reach); ++x) {
            const auto channel = static_cast<size_t>(layout.channel[y % 2][x % 2]);
            uint16_t word = 0;
            std::memcpy(&word, words.line(y) + size_t{x} * 2, sizeof word);
            sum[channel] += word;
            ++count[channel];
            saturated = saturated || word == full;
        }
    if (saturated) throw no_point(tuning, "samples there are saturated");
    Gains gains{1, 1, 1};
    for (size_t i = 0; i < channel_count; ++i) {
        if (sum[i] == 0) throw no_point(tuning, "one of its colours is black there");
        gains[i] = sum[1] / count[1] / (sum[i] / count[i]);
    }
    return gains;
}

}  // namespace

bool is_developed(const Format& format) {
    return (format.family == Family::bayer || format.family == Family::grey) &&
           format.significant <= 16;
}

const Format& developed_format(const Format& source, bool deep) {
    if (source.family == Family::grey) return format_of(deep ? Code::Mono16 : Code::Mono8);
    return format_of(deep ? Code::RGB48 : Code::BGR24);
}

Developer::Developer(const Development& settings, const Tuning& tuning, const Geometry& source,
                     uint64_t skip, const Demosaic& how)
    : settings_(settings), tuning_(tuning), source_(source), how_(how) {
    for (size_t i = 0; i < settings.black.size(); ++i) black_[i] = settings.black[i];
    if (settings.black.size() == 1) black_.fill(settings.black[0]);
    if (!settings.dark.empty()) read_dark(settings.dark, skip);
    if (!settings.flat.empty()) flat_.emplace(read_reference(settings.flat, source, skip));
    if (!settings.defects.empty()) defects_ = read_defects(settings.defects, source);
    if (tuning.white == Tuning::White::point &&
        (tuning.x >= source.width || tuning.y >= source.height))
        throw Failure(Exit::usage, text("the point ", tuning.x, ",", tuning.y, " lies outside"),
                      text("the picture has ", source.width, "x", source.height, " pixels"),
                      "x and y are counted from 0");
    Recipe made = recipe(tuning.given, true);
    if (!tuning.measured()) fixed_ = std::move(made);
}

// What is black by the dark picture is the level from which white is counted, too.
void Developer::read_dark(const std::string& path, uint64_t skip) {
    dark_.emplace(read_reference(path, source_, skip));
    if (settings_.black.empty()) black_ = levels_of(*dark_, is_mosaic());
}

Developer::Recipe Developer::recipe(const Gains& gains, bool finished) const {
    TRW_DevelopSettings s{};
    s.size = sizeof s;
    if (source_.packing != 0) s.format = whole_code(*source_.format);
    if (is_mosaic()) s.method = finished ? how_.method : default_method;
    if (is_mosaic()) s.phase = phase_parameter(how_.phase);
    std::copy(black_.begin(), black_.end(), s.black);
    s.white = settings_.white;
    s.dark = dark_ ? dark_->handle() : 0;
    s.flat = flat_ ? flat_->handle() : 0;
    s.defects = defects_.data();
    s.defect_count = defects_.size();
    if (is_mosaic())
        std::copy(gains.begin(), gains.end(), s.gains);
    else
        s.gains[0] = gains[static_cast<size_t>(Channel::green)];
    if (finished && settings_.matrix)
        std::copy(settings_.matrix->begin(), settings_.matrix->end(), s.matrix);
    s.curve = finished ? settings_.curve : TRW_CURVE_NONE;
    s.gamma = settings_.gamma;
    // A recipe is made of the kind of a picture, whose pixels nobody looks at.
    const Frame like(bytes_of(source_));
    const trvil::Buffer packed =
        source_.packing == 0 ? trvil::Buffer() : packed_lines(like, source_, 0, source_.height);
    const uint64_t handle = source_.packing == 0 ? like.handle() : packed.handle();
    TRW_Recipe* recipe = nullptr;
    const char* why = "";
    const uint32_t status = TRW_RecipeCreate(&recipe, handle, source_.packing, &s, &why);
    if (status == TRV_STATUS_MEMORY) throw std::bad_alloc();
    if (status != TRV_STATUS_OK)
        throw Failure(Exit::usage, text("cannot develop ", source_.name(), " by these settings"),
                      why, "check the options of developing, and the settings");
    return Recipe(recipe);
}

void Developer::develop(const Frame& dump, const TRW_Recipe* recipe, const Frame& result,
                        TRW_Pool* pool) const {
    const Format& to = *result.geometry().format;
    const trvil::Buffer packed =
        source_.packing == 0 ? trvil::Buffer() : packed_lines(dump, source_, 0, source_.height);
    const uint64_t handle = source_.packing == 0 ? dump.handle() : packed.handle();
    const uint32_t status = TRW_Develop(handle, result.handle(), recipe, pool);
    if (status == TRV_STATUS_MEMORY) throw std::bad_alloc();
    if (status == TRV_STATUS_UNSUPPORTED)
        throw Failure(Exit::no_route, text("cannot develop ", source_.name(), " to ", to.name),
                      is_mosaic()
                          ? "colour is developed to RGB48 and BGR48, and to what those become"
                          : "grey is developed to Mono16, and to what that becomes",
                      "choose another target with -t");
    if (status != TRV_STATUS_OK)
        throw Failure(Exit::conversion, text("cannot develop ", source_.name(), " to ", to.name),
                      text("the library answered status ", status), "");
}

Frame Developer::run(const TRW_Recipe* recipe, const Frame& dump, const Format& to,
                     TRW_Pool* pool) const {
    Frame result(tight(to, source_.width, source_.height));
    develop(dump, recipe, result, pool);
    return result;
}

// A mosaic of its samples before gains, matrix and curve: demosaicing leaves each pixel the colour
// that it has.
Frame Developer::corrected(const Frame& dump, TRW_Pool* pool) const {
    const Recipe plain = recipe({1, 1, 1}, false);
    if (!is_mosaic()) return run(plain.get(), dump, format_of(Code::Mono16), pool);
    const Frame colours = run(plain.get(), dump, format_of(Code::RGB48), pool);
    const SampleLayout layout = layout_of_words(true, how_.phase);
    Frame words(tight(format_of(Code::BAY16), source_.width, source_.height));
    for (uint32_t y = 0; y < source_.height; ++y)
        for (uint32_t first = 0; first < 2; ++first) {
            const auto channel = static_cast<size_t>(layout.channel[y % 2][first]);
            const uint8_t* from = colours.line(y) + channel * 2;
            for (uint32_t x = first; x < source_.width; x += 2)
                std::memcpy(words.line(y) + size_t{x} * 2, from + size_t{x} * 6, 2);
        }
    return words;
}

Gains Developer::gains(const Frame& dump, TRW_Pool* pool) const {
    if (!tuning_.measured()) return tuning_.given;
    const Frame words = corrected(dump, pool);
    const SampleLayout layout = layout_of_words(is_mosaic(), how_.phase);
    Tuning tuning = tuning_;
    if (tuning.white == Tuning::White::point) {
        tuning.white = Tuning::White::given;
        tuning.given = gains_at(words, layout, tuning_);
    }
    const Gains gains = choose_gains(tuning, take_histogram(words, layout), layout);
    return tuning_.stretch ? gains : none_below_one(gains);
}

Frame Developer::develop(const Frame& dump, const Format& to, TRW_Pool* pool) const {
    if (fixed_) return run(fixed_.get(), dump, to, pool);
    return run(recipe_for(dump, pool).get(), dump, to, pool);
}

Developer::Recipe Developer::recipe_for(const Frame& dump, TRW_Pool* pool) const {
    return recipe(gains(dump, pool), true);
}

DngColours Developer::colours(const Frame& dump, TRW_Pool* pool) const {
    return {how_.phase, black_, settings_.white, gains(dump, pool),
            settings_.matrix.value_or(unit_matrix)};
}

}  // namespace trv::tool
