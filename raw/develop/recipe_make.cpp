#include "raw/develop/recipe_make.h"

#include <math.h>
#include <stdlib.h>

#include <new>

#include "image/simd/float_mode.h"
#include "raw/demosaic/decision.h"
#include "raw/develop/curve.h"
#include "raw/develop/samples.h"
#include "trvil/status.h"

namespace trv::raw {
namespace {

// How far away good samples are looked for.
constexpr uint32_t farthest = 64;
constexpr double white_word = 65535, smallest_determinant = 1e-6;
constexpr unsigned sites = 4;

struct Picture {
    SampleSource source;
    Side side;
};

struct Outcome {
    uint32_t status;
    const char* why;  // null after a success
};
constexpr Outcome fine{TRV_STATUS_OK, nullptr};

constexpr Outcome wrong(const char* why) {
    return {TRV_STATUS_PARAMETER, why};
}
constexpr Outcome unsupported(const char* why) {
    return {TRV_STATUS_UNSUPPORTED, why};
}
constexpr Outcome bad_mosaic(const char* why) {
    return {TRV_STATUS_BAYER_SETTING, why};
}
constexpr Outcome no_memory{TRV_STATUS_MEMORY, "there is no memory for the recipe"};

class Maker {
  public:
    Maker(Handle source, uint32_t packing, const TRW_DevelopSettings& settings, TRW_Recipe* recipe)
        : source_(source), packing_(packing), settings_(settings), recipe_(recipe) {}

    Outcome make() {
        using Step = Outcome (Maker::*)();
        constexpr Step steps[] = {&Maker::read_source,     &Maker::check_levels,
                                  &Maker::check_gains,     &Maker::check_matrix,
                                  &Maker::read_references, &Maker::fill_planes,
                                  &Maker::read_defects,    &Maker::bend};
        for (const Step step : steps)
            if (const Outcome outcome = (this->*step)(); outcome.why != nullptr) return outcome;
        return fine;
    }

  private:
    SampleSource& samples() const { return recipe_->source; }
    unsigned depth_shift() const { return 16u - samples().bits; }
    unsigned site_of(uint32_t x, uint32_t y) const {
        return samples().is_mosaic() ? y % 2 * 2 + x % 2 : 0;
    }

    Outcome read_source() {
        const Buffer buffer(source_);
        recipe_->packing = packing_;
        recipe_->width = buffer.width();
        recipe_->height = buffer.height();
        recipe_->format = buffer.format();
        if (!buffer.present()) return wrong("the source is no buffer");
        if (recipe_->width == 0 || recipe_->height == 0) return wrong("the source has no pixels");
        if (packing_ == 0 && recipe_->format == 0) return wrong("the source has no pixel format");
        if (!find_samples(buffer, packing_, settings_.format, &samples()))
            return unsupported("only mosaics and grey of up to 16 bits are developed");
        const uint32_t most = UINT32_MAX / (samples().is_mosaic() ? 6 : 2);
        if (recipe_->width > most) return wrong("a line in words would take 4 GiB or more");
        return samples().is_mosaic() ? read_mosaic(buffer) : fine;
    }

    Outcome read_mosaic(const Buffer& buffer) {
        const uint32_t method = settings_.method != 0 ? settings_.method : buffer.bayer_method();
        Phase& phase = samples().phase;
        const uint32_t code = settings_.phase != 0   ? settings_.phase
                              : phase == Phase::none ? buffer.bayer_phase()
                                                     : 0;
        if (code != 0 && !bayer::find_phase(code, &phase)) return bad_mosaic("no such phase");
        if (phase == Phase::none) return bad_mosaic("the mosaic's phase is not known");
        if (!find_demosaic_method(method, &recipe_->method)) return bad_mosaic("no such method");
        return fine;
    }

    uint32_t white() const { return settings_.white != 0 ? settings_.white : samples().most(); }
    uint32_t black(unsigned site) const {
        return settings_.black[samples().is_mosaic() ? site : 0];
    }

    Outcome check_levels() {
        if (white() > samples().most()) return wrong("white is above what a sample can be");
        for (unsigned site = 0; site < sites; ++site)
            if (black(site) >= white()) return wrong("a black level is not below white");
        return fine;
    }

    bool has_gains() const {
        return settings_.gains[0] != 0 || settings_.gains[1] != 0 || settings_.gains[2] != 0;
    }

    // Red, green and blue are 0, 1 and 2.
    unsigned colour_of(unsigned site) const {
        static constexpr uint8_t colours[4][sites] = {
            {0, 1, 1, 2}, {1, 0, 2, 1}, {1, 2, 0, 1}, {2, 1, 1, 0}};
        return samples().is_mosaic() ? colours[static_cast<unsigned>(samples().phase)][site] : 0;
    }

    Outcome check_gains() {
        const bool is_grey = !samples().is_mosaic();
        if (is_grey && (settings_.gains[1] != 0 || settings_.gains[2] != 0))
            return unsupported("grey has one gain");
        for (unsigned site = 0; site < sites; ++site) {
            const double gain = has_gains() ? settings_.gains[colour_of(site)] : 1;
            if (!(gain > 0)) return wrong("a gain is not above 0");
            factor_[site] =
                gain * white_word / (double(white() - black(site)) * (1u << depth_shift()));
            if (!(factor_[site] < most_factor)) return wrong("a gain is too large");
        }
        return fine;
    }

    Outcome check_matrix() {
        const double* m = settings_.matrix;
        for (unsigned i = 0; i < 9; ++i) {
            if (!isfinite(m[i])) return wrong("an entry of the matrix is no number");
            recipe_->has_matrix = recipe_->has_matrix || m[i] != 0;
        }
        if (!recipe_->has_matrix) return fine;
        if (!samples().is_mosaic()) return unsupported("grey has no colours for a matrix");
        const double determinant = m[0] * (m[4] * m[8] - m[5] * m[7]) -
                                   m[1] * (m[3] * m[8] - m[5] * m[6]) +
                                   m[2] * (m[3] * m[7] - m[4] * m[6]);
        if (!(fabs(determinant) > smallest_determinant)) return wrong("the matrix is singular");
        recipe_->matrix.is_short = true;
        for (unsigned row = 0; row < 3; ++row) {
            const double* entry = m + 3 * row;
            if (!(fabs(entry[0]) + fabs(entry[1]) + fabs(entry[2]) < most_row_sum))
                return wrong("a row of the matrix is too large");
            for (unsigned i = 0; i < 3; ++i) put_entry(entry[i], row, i);
        }
        return fine;
    }

    void put_entry(double value, unsigned row, unsigned i) {
        constexpr unsigned low_bits = matrix_bits - matrix_high_bits;
        const double scaled = value * (1 << matrix_bits);
        const auto entry = static_cast<int32_t>(scaled < 0 ? scaled - 0.5 : scaled + 0.5);
        const int32_t high = (entry + (1 << (low_bits - 1))) >> low_bits;
        const int32_t low = entry - high * (1 << low_bits);
        recipe_->matrix.row[row].high[i] = static_cast<int16_t>(high);
        recipe_->matrix.row[row].low[i] = static_cast<int16_t>(low);
        recipe_->matrix.is_short = recipe_->matrix.is_short && low == 0;
    }

    Outcome read_reference(Handle handle, Picture* picture) {
        const Buffer buffer(handle);
        Side& side = picture->side;
        side.address = buffer.address();
        side.width = buffer.width();
        side.height = buffer.height();
        side.stride = buffer.stride();
        if (!buffer.present() || buffer.format() == 0 || side.address == nullptr)
            return wrong("dark or flat has no format or no memory");
        if (side.width != recipe_->width || side.height != recipe_->height)
            return wrong("dark or flat has another size than the source");
        if (!find_samples(buffer, 0, 0, &picture->source) || picture->source.packing != nullptr)
            return unsupported("dark and flat are 8-bit or 16-bit samples");
        const uint64_t line = uint64_t{side.width} * (picture->source.is_bytes() ? 1 : 2);
        const bool fits = side.height == 1 || line <= side.stride;
        return fits ? fine : wrong("a stride of dark or flat is too small for a line");
    }

    Outcome read_references() {
        if (settings_.dark != 0)
            if (const Outcome outcome = read_reference(settings_.dark, &dark_);
                outcome.why != nullptr)
                return outcome;
        return settings_.flat != 0 ? read_reference(settings_.flat, &flat_) : fine;
    }

    Outcome fill_planes() {
        const bool has_dark = settings_.dark != 0, has_flat = settings_.flat != 0;
        const uint32_t width = recipe_->width, height = recipe_->height;
        if (!recipe_->offset.allocate(width, height, has_dark) ||
            !recipe_->high.allocate(width, height, has_flat) ||
            !recipe_->low.allocate(width, height, has_flat))
            return no_memory;
        for (uint32_t y = 0; y < recipe_->offset.lines(height); ++y)
            for (uint32_t x = 0; x < width; ++x)
                recipe_->offset.line(y)[x] = static_cast<uint16_t>(
                    has_dark ? sample_at(dark_.source, dark_.side, x, y) : black(site_of(x, y)));
        if (has_flat) find_means();
        for (uint32_t y = 0; y < recipe_->high.lines(height); ++y)
            for (uint32_t x = 0; x < width; ++x) put_factor(x, y, has_flat);
        return fine;
    }

    uint32_t lit(uint32_t x, uint32_t y) const {
        const uint32_t value = sample_at(flat_.source, flat_.side, x, y);
        const uint32_t offset = recipe_->offset.line(y)[x];
        return value > offset ? value - offset : 0;
    }

    // Of the flat field, site by site: what colour the light had is no matter.
    void find_means() {
        uint64_t sum[sites] = {}, count[sites] = {};
        for (uint32_t y = 0; y < recipe_->height; ++y)
            for (uint32_t x = 0; x < recipe_->width; ++x) {
                const unsigned site = site_of(x, y);
                sum[site] += lit(x, y);
                ++count[site];
            }
        for (unsigned site = 0; site < sites; ++site)
            mean_[site] = count[site] == 0 ? 0 : double(sum[site]) / double(count[site]);
    }

    void put_factor(uint32_t x, uint32_t y, bool has_flat) {
        const unsigned site = site_of(x, y);
        double factor = factor_[site];
        if (has_flat) {
            const uint32_t value = lit(x, y);
            if (value != 0) factor *= mean_[site] / value;
        }
        if (factor > most_factor) factor = most_factor;
        const auto fixed = static_cast<uint32_t>(factor / factor_unit + 0.5);
        recipe_->high.line(y)[x] = static_cast<uint16_t>(fixed >> 16);
        recipe_->low.line(y)[x] = static_cast<uint16_t>(fixed);
    }

    Outcome read_defects();
    bool is_defect(int64_t x, int64_t y) const;
    bool is_good(int64_t x, int64_t y) const {
        return x >= 0 && y >= 0 && x < recipe_->width && y < recipe_->height && !is_defect(x, y);
    }
    bool find_good(Repair* repair) const;

    Outcome bend() {
        if (settings_.curve == TRW_CURVE_NONE) return fine;
        const bool is_gamma = settings_.curve == TRW_CURVE_GAMMA;
        if (!is_gamma && settings_.curve != TRW_CURVE_SRGB) return unsupported("no such curve");
        if (is_gamma && !(settings_.gamma >= 0.1 && settings_.gamma <= 10))
            return wrong("gamma is not from 0.1 to 10");
        recipe_->curve = static_cast<Curve*>(malloc(sizeof(Curve)));
        if (recipe_->curve == nullptr) return no_memory;
        make_curve(is_gamma ? CurveKind::gamma : CurveKind::srgb, settings_.gamma, recipe_->curve);
        return fine;
    }

    Handle source_;
    uint32_t packing_;
    const TRW_DevelopSettings& settings_;
    TRW_Recipe* recipe_;
    double factor_[sites] = {}, mean_[sites] = {};
    Picture dark_{}, flat_{};
};

int by_place(const void* a, const void* b) {
    const auto &p = *static_cast<const Repair*>(a), &q = *static_cast<const Repair*>(b);
    if (p.y != q.y) return p.y < q.y ? -1 : 1;
    return p.x < q.x ? -1 : p.x > q.x;
}

// Repairs are sorted, and no two are of the same place.
Outcome Maker::read_defects() {
    if (settings_.defect_count == 0) return fine;
    if (settings_.defects == nullptr) return wrong("there is no list of defects");
    const size_t count = settings_.defect_count;
    if (count > SIZE_MAX / sizeof(Repair)) return no_memory;
    Repair* repairs = static_cast<Repair*>(malloc(count * sizeof(Repair)));
    if (repairs == nullptr) return no_memory;
    recipe_->repairs = repairs;
    for (size_t i = 0; i < count; ++i) {
        const TRW_Defect& defect = settings_.defects[i];
        if (defect.x >= recipe_->width || defect.y >= recipe_->height)
            return wrong("a defect lies outside the picture");
        repairs[i] = {defect.x, defect.y, 0, 0};
    }
    qsort(repairs, count, sizeof *repairs, by_place);
    size_t kept = 0;
    for (size_t i = 0; i < count; ++i)
        if (kept == 0 || by_place(&repairs[kept - 1], &repairs[i]) != 0)
            repairs[kept++] = repairs[i];
    recipe_->repair_count = kept;
    for (size_t i = 0; i < kept; ++i)
        if (!find_good(&repairs[i])) return wrong("a defect has no good sample near it");
    return fine;
}

bool Maker::is_defect(int64_t x, int64_t y) const {
    const Repair wanted{static_cast<uint32_t>(x), static_cast<uint32_t>(y), 0, 0};
    return bsearch(&wanted, recipe_->repairs, recipe_->repair_count, sizeof wanted, by_place) !=
           nullptr;
}

bool Maker::find_good(Repair* repair) const {
    const int64_t x = repair->x, y = repair->y;
    for (uint32_t far = samples().step; far <= farthest; far += samples().step) {
        const bool good[] = {is_good(x - far, y), is_good(x + far, y), is_good(x, y - far),
                             is_good(x, y + far)};
        for (unsigned i = 0; i < 4; ++i)
            if (good[i]) repair->directions = static_cast<uint8_t>(repair->directions | 1u << i);
        repair->distance = static_cast<uint8_t>(far);
        if (repair->directions != 0) return true;
    }
    return false;
}

}  // namespace

uint32_t make_recipe(Handle source, uint32_t packing, const TRW_DevelopSettings& settings,
                     TRW_Recipe** recipe, const char** why) {
    const FloatMode mode;
    void* memory = malloc(sizeof(TRW_Recipe));
    auto* made = memory == nullptr ? nullptr : new (memory) TRW_Recipe;
    const Outcome outcome =
        made == nullptr ? no_memory : Maker(source, packing, settings, made).make();
    *why = outcome.why;
    if (outcome.why == nullptr)
        *recipe = made;
    else if (made != nullptr)
        end_recipe(made);
    return outcome.status;
}

void end_recipe(TRW_Recipe* recipe) {
    recipe->~TRW_Recipe();
    free(recipe);
}

}  // namespace trv::raw
