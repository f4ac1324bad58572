#include "raw/develop/develop.h"

#include <string.h>

#include "image/dispatch/run.h"
#include "image/format/decision.h"
#include "image/simd/float_mode.h"
#include "raw/demosaic/decision.h"
#include "raw/develop/samples.h"
#include "raw/pool/pool.h"
#include "raw/strips/strips.h"
#include "raw/unpack/row.h"
#include "trvil/status.h"

namespace trv::raw {
namespace {

constexpr size_t word_bytes = sizeof(uint16_t);

// Words of a pixel: three colours, or one grey value.
uint32_t channels(const TRW_Recipe& recipe) {
    return recipe.source.is_mosaic() ? 3 : 1;
}

uint32_t neighbours(const TRW_Recipe& recipe) {
    return recipe.source.is_mosaic() ? neighbour_lines(recipe.method) : 0;
}

bool looks_beyond(const TRW_Recipe& recipe) {
    return recipe.source.is_mosaic() && recipe.width % 2 != 0;
}

// Mosaics of less than 2 x 2 pixels have none: they are left alone.
bool has_neighbours(const TRW_Recipe& recipe) {
    return !recipe.source.is_mosaic() || (recipe.width >= 2 && recipe.height >= 2);
}

constexpr Code word_codes[] = {Code::RGB48, Code::BGR48, Code::Mono16};

bool goes_from(Code words, const Format& destination) {
    const Route route =
        find_route(static_cast<uint32_t>(words), static_cast<uint32_t>(destination.code));
    return destination.code == words || route_kind(route) != RouteKind::none;
}

// The words that become the destination's format; null where none do.
const Format* developed_format(const TRW_Recipe& recipe, const Format& destination) {
    for (const Code words : word_codes)
        if ((words == Code::Mono16) != recipe.source.is_mosaic() && goes_from(words, destination))
            return &format_of(words);
    return nullptr;
}

struct DevelopDecision {
    uint32_t status;
    Side source;
    Side destination;
    const Format* made;   // what the recipe makes: a format of words
    Job conversion;       // from there to the destination, where that has another format
    Decision converting;  // none: it has not
    bool converts() const { return converting.destination != nullptr; }
};

uint32_t check_source(const TRW_Recipe& recipe, const Buffer& buffer, Side* side) {
    if (!buffer.present()) return TRV_STATUS_PARAMETER;
    side->address = buffer.address();
    side->width = buffer.width();
    side->height = buffer.height();
    side->stride = buffer.stride();
    side->format = buffer.format();
    if (side->address == nullptr || side->width != recipe.width || side->height != recipe.height)
        return TRV_STATUS_PARAMETER;
    if (recipe.packing == 0 && side->format != recipe.format)
        return side->format == 0 ? TRV_STATUS_PARAMETER : TRV_STATUS_UNSUPPORTED;
    const bool fits = side->height == 1 || recipe.source.line_bytes(side->width) <= side->stride;
    return fits ? TRV_STATUS_OK : TRV_STATUS_PARAMETER;
}

uint32_t check_destination(const TRW_Recipe& recipe, const Buffer& buffer, DevelopDecision* d) {
    if (!buffer.present()) return TRV_STATUS_PARAMETER;
    Side& side = d->destination;
    side.address = buffer.address();
    side.width = buffer.width();
    side.height = buffer.height();
    side.stride = buffer.stride();
    side.format = buffer.format();
    if (side.address == nullptr || side.format == 0) return TRV_STATUS_PARAMETER;
    const Format* format = find_whole_format(side.format);
    if (format == nullptr) return TRV_STATUS_UNSUPPORTED;
    if ((d->made = developed_format(recipe, *format)) == nullptr) return TRV_STATUS_UNSUPPORTED;
    if (format != d->made) {
        d->conversion = {d->source, side, 0, 0, 0};
        d->conversion.source.format = format_prefix + static_cast<uint32_t>(d->made->code);
        d->conversion.source.stride = recipe.width * channels(recipe) * uint32_t{word_bytes};
        d->converting = decide(d->conversion);
    }
    const bool fits = line_bytes(*format, recipe.width) <= side.stride &&
                      recipe.width <= side.width && recipe.height <= side.height;
    return fits ? TRV_STATUS_OK : TRV_STATUS_PARAMETER;
}

DevelopDecision decide_develop(const TRW_Recipe& recipe, Handle source, Handle destination) {
    DevelopDecision d{};
    d.status = check_source(recipe, Buffer(source), &d.source);
    if (d.status == TRV_STATUS_OK) d.status = check_destination(recipe, Buffer(destination), &d);
    return d;
}

// Blue first: the same matrix for colours in the opposite order.
Matrix reversed(const Matrix& matrix) {
    Matrix r = matrix;
    for (unsigned row = 0; row < 3; ++row)
        for (unsigned i = 0; i < 3; ++i) {
            r.row[row].high[i] = matrix.row[2 - row].high[2 - i];
            r.row[row].low[i] = matrix.row[2 - row].low[2 - i];
        }
    return r;
}

// The stages that a strip of corrected samples passes.
class Developing {
  public:
    Developing(const Level& level, const TRW_Recipe& recipe, const DevelopDecision& decision)
        : level_(level),
          recipe_(recipe),
          d_(decision),
          matrix_(d_.made->code == Code::BGR48 ? reversed(recipe.matrix) : recipe.matrix) {}

    // `scratch` has a line of words.
    void fill(const Strip& strip, uint32_t width, LineRange lines, uint8_t* scratch) const {
        for (uint32_t y = lines.first; y < lines.last; ++y) {
            auto* out = reinterpret_cast<uint16_t*>(strip.line(y));
            correct(y, width, out, scratch);
            repair(y, width, out);
        }
    }

    // `scratch` has a line of what the recipe makes: every line takes all steps while it is in the
    // nearest cache.
    void finish(const Strip& strip, LineRange lines, uint8_t* scratch) const {
        for (uint32_t y = lines.first; y < lines.last; ++y) {
            const LineRange line{y, y + 1};
            Strip made{d_.destination.address, d_.destination.stride, {0, 0}};
            if (d_.converts()) made = {scratch, d_.conversion.source.stride, line};
            make_words(strip, line, made);
            if (recipe_.has_matrix) level_.develop->mix(made.line(y), recipe_.width, matrix_);
            if (recipe_.curve != nullptr)
                level_.develop->bend(made.line(y), size_t{recipe_.width} * channels(recipe_),
                                     *recipe_.curve);
            if (d_.converts()) convert(made, line);
        }
    }

  private:
    void correct(uint32_t y, uint32_t width, uint16_t* out, uint8_t* scratch) const {
        const SampleSource& source = recipe_.source;
        SampleLine line{d_.source.address + size_t{d_.source.stride} * y,
                        out,
                        recipe_.offset.line(y),
                        recipe_.high.line(y),
                        recipe_.low.line(y),
                        width,
                        source.most(),
                        16u - source.bits};
        if (source.packing != nullptr) {
            const Row unpack = level_.unpack->row[source.packing->code - 1];
            unpack({line.source, scratch, source.first, width});
            line.source = scratch;
        }
        (source.is_bytes() ? level_.develop->correct_bytes : level_.develop->correct_words)(line);
    }

    uint32_t corrected_at(uint32_t x, uint32_t y) const {
        const SampleSource& source = recipe_.source;
        return corrected(sample_at(source, d_.source, x, y), source.most(),
                         recipe_.offset.line(y)[x], 16u - source.bits,
                         {recipe_.high.line(y)[x], recipe_.low.line(y)[x]});
    }

    void repair(uint32_t y, uint32_t width, uint16_t* line) const {
        const Repair* end = recipe_.repairs + recipe_.repair_count;
        for (const Repair* r = recipe_.repairs_from(y); r != end && r->y == y; ++r)
            if (r->x < width) line[r->x] = repaired(*r);
    }

    uint16_t repaired(const Repair& r) const {
        const uint32_t far = r.distance;
        uint32_t sum = 0, count = 0;
        const auto add = [&](unsigned direction, uint32_t x, uint32_t y) {
            if ((r.directions >> direction & 1) == 0) return;
            sum += corrected_at(x, y);
            ++count;
        };
        add(0, r.x - far, r.y);
        add(1, r.x + far, r.y);
        add(2, r.x, r.y - far);
        add(3, r.x, r.y + far);
        return static_cast<uint16_t>((sum + count / 2) / count);
    }

    void make_words(const Strip& strip, LineRange lines, const Strip& made) const {
        if (!recipe_.source.is_mosaic()) {
            for (uint32_t y = lines.first; y < lines.last; ++y)
                memcpy(made.line(y), strip.line(y), recipe_.width * word_bytes);
            return;
        }
        bayer::Image image{};
        image.source = strip.origin();
        image.destination = made.origin();
        image.source_stride = strip.stride;
        image.destination_stride = made.stride;
        image.width = recipe_.width;
        image.height = recipe_.height;
        image.bits = 16;
        demosaic_lines(level_, {recipe_.method, recipe_.source.phase, d_.made}, image, lines);
    }

    void convert(const Strip& made, LineRange line) const {
        Job job = d_.conversion;
        job.source.address = made.origin();
        trv::convert_lines(level_.image, job, d_.converting, line);
    }

    const Level& level_;
    const TRW_Recipe& recipe_;
    const DevelopDecision& d_;
    Matrix matrix_;
};

// The stages of one thread.
struct Stages {
    const Developing& developing;
    uint8_t* line;
    uint8_t* made;

    void fill(const Strip& strip, uint32_t width, LineRange lines) const {
        developing.fill(strip, width, lines, line);
    }
    void finish(const Strip& strip, LineRange lines) const {
        developing.finish(strip, lines, made);
    }
};

// A seat's memory: the strip, a line of words, and lines of what the recipe makes.
class Development {
  public:
    Development(const Level& level, const TRW_Recipe& recipe, const DevelopDecision& decision,
                uint32_t threads, const Cut& cut)
        : developing_(level, recipe, decision), line_(size_t{recipe.width} * word_bytes) {
        const uint64_t bytes = (line_ + decision.destination.stride) * uint64_t{recipe.height};
        partition_ = cut_bands(recipe.height, bytes, threads, cut);
        cut_strips(line_, cut, &partition_);
        shape_ = {recipe.width, recipe.height, partition_.strip_lines, neighbours(recipe),
                  looks_beyond(recipe)};
        const size_t made = decision.converts() ? line_ * channels(recipe) : 0;
        partition_.seat_bytes = made_begin() + in_cache_lines(made);
    }

    const Partition& partition() const { return partition_; }

    void run(TRW_Pool* pool, uint8_t* memory) {
        memory_ = memory;
        raw::run(pool, {make, this, partition_.bands, partition_.seats});
    }

  private:
    size_t line_begin() const { return in_cache_lines(shape_.bytes()); }
    size_t made_begin() const { return line_begin() + in_cache_lines(line_); }

    static void make(void* context, uint32_t part, uint32_t seat) {
        const FloatMode mode;
        const auto* self = static_cast<const Development*>(context);
        uint8_t* memory = self->memory_ + self->partition_.seat_bytes * seat;
        const Stages stages{self->developing_, memory + self->line_begin(),
                            memory + self->made_begin()};
        make_strips(stages, self->shape_, self->partition_.band(part), memory);
    }

    Developing developing_;
    size_t line_;
    Partition partition_{};
    StripShape shape_{};
    uint8_t* memory_ = nullptr;
};

}  // namespace

uint32_t develop(const Level& level, Handle source, Handle destination, const TRW_Recipe& recipe,
                 TRW_Pool* pool, const Cut& cut) {
    const DevelopDecision decision = decide_develop(recipe, source, destination);
    if (decision.status != TRV_STATUS_OK || !has_neighbours(recipe)) return decision.status;
    Development development(level, recipe, decision, threads_of(pool), cut);
    const LentMemory memory(pool, development.partition().bytes());
    if (memory.is_missing()) return TRV_STATUS_MEMORY;
    development.run(pool, memory.data());
    return TRV_STATUS_OK;
}

}  // namespace trv::raw
