#include "raw/convert/convert.h"

#include <stdlib.h>
#include <string.h>

#include "image/dispatch/run.h"
#include "raw/convert/decision.h"
#include "raw/explain/access_extent.h"
#include "raw/pool/pool.h"
#include "raw/unpack/unpack.h"

namespace trv::raw {
namespace {

// A thread that was held up leaves the others something to do.
constexpr uint32_t bands_per_thread = 4;

constexpr size_t cache_line = 64;

uint32_t smaller(uint64_t a, uint64_t b) {
    return static_cast<uint32_t>(a < b ? a : b);
}

// How often `part` goes into `whole`, a rest counted.
uint32_t parts_of(uint32_t whole, uint32_t part) {
    return static_cast<uint32_t>((uint64_t{whole} + part - 1) / part);
}

// Where a line would be if the picture began there: a strip is addressed by lines of the picture.
uint8_t* origin(uint8_t* line, uint32_t y, uint32_t stride) {
    return reinterpret_cast<uint8_t*>(reinterpret_cast<uintptr_t>(line) - uintptr_t{stride} * y);
}

bool share_memory(const uint8_t* a, uint64_t a_bytes, const uint8_t* b, uint64_t b_bytes) {
    const auto first = reinterpret_cast<uintptr_t>(a), second = reinterpret_cast<uintptr_t>(b);
    return first < second + b_bytes && second < first + a_bytes;
}

// Whether it matters in which order lines are made.
bool depends_on_order(const ConvertDecision& d) {
    if (d.course == Course::unpack) return false;
    const AccessExtent to = destination_extent(d.job, d.conversion);
    if (to.lines_overlap()) return true;
    if (d.course == Course::unpack_and_convert) return false;
    const AccessExtent from = source_extent(d.job, d.conversion);
    return share_memory(d.job.source.address, from.bytes(), d.job.destination.address, to.bytes());
}

void convert_lines(const Level& level, const Job& job, const Decision& decision, LineRange lines) {
    if (decision.kind != RouteKind::bayer)
        return trv::convert_lines(level.image, job, decision, lines);
    bayer::Image image{};
    image.source = job.source.address;
    image.destination = job.destination.address;
    image.source_stride = job.source.stride;
    image.destination_stride = job.destination.stride;
    image.width = job.source.width;
    image.height = job.source.height;
    image.bits = decision.source->significant;
    bayer::convert_lines(level.image, decision.kernel, image, lines);
}

// Unpacked lines `first` to `last` - 1 of the picture, and room for more.
struct Strip {
    uint8_t* memory;
    uint32_t stride;
    LineRange lines;

    uint8_t* line(uint32_t y) const { return memory + size_t{y - lines.first} * stride; }
};

class Conversion {
  public:
    Conversion(const Level& level, const ConvertDecision& decision, const Cut& cut)
        : level_(level), d_(decision), cut_(cut), height_(source().height) {}
    ~Conversion() { free(memory_); }
    Conversion(const Conversion&) = delete;
    Conversion& operator=(const Conversion&) = delete;

    bool is_empty() const { return height_ == 0; }

    // False when there is no memory for the strips.
    bool prepare(uint32_t threads) {
        const uint32_t bands = depends_on_order(d_) ? 1 : count_bands(threads);
        band_lines_ = parts_of(height_, bands);
        bands_ = parts_of(height_, band_lines_);
        seats_ = smaller(threads, bands_);
        return d_.course != Course::unpack_and_convert || allocate_strips();
    }

    void run(TRW_Pool* pool) const {
        raw::run(pool, {make, const_cast<Conversion*>(this), bands_, seats_});
    }

  private:
    const Side& source() const {
        return d_.course == Course::convert ? d_.job.source : d_.unpacking.source;
    }
    const Side& destination() const {
        return d_.course == Course::unpack ? d_.unpacking.destination : d_.job.destination;
    }

    uint32_t count_bands(uint32_t threads) const {
        if (threads == 1) return 1;
        const uint64_t bytes =
            (uint64_t{source().stride} + destination().stride) * uint64_t{height_};
        const uint64_t most = smaller(uint64_t{threads} * bands_per_thread, height_);
        const uint32_t worth = smaller(bytes / cut_.least_band_bytes, most);
        return worth == 0 ? 1 : worth;
    }

    bool allocate_strips() {
        const uint64_t line = d_.job.source.stride;
        strip_lines_ = smaller(cut_.strip_bytes / line + 1, band_lines_);
        // The neighbours of its first and its last line, and the sample after that.
        const uint64_t bytes = (uint64_t{strip_lines_} + 2) * line + pixel_bytes;
        seat_bytes_ = (bytes + cache_line - 1) / cache_line * cache_line;
        memory_ = static_cast<uint8_t*>(aligned_alloc(cache_line, seat_bytes_ * seats_));
        return memory_ != nullptr;
    }

    static void make(void* context, uint32_t part, uint32_t seat) {
        const auto* self = static_cast<const Conversion*>(context);
        const uint64_t first = uint64_t{part} * self->band_lines_;
        self->make_band(
            {static_cast<uint32_t>(first), smaller(first + self->band_lines_, self->height_)},
            seat);
    }

    void make_band(LineRange lines, uint32_t seat) const {
        switch (d_.course) {
            case Course::convert:
                return convert_lines(level_, d_.job, d_.conversion, lines);
            case Course::unpack:
                return unpack_lines(level_, *d_.packing, d_.unpacking, lines);
            default:
                return make_strips(lines, memory_ + seat_bytes_ * seat);
        }
    }

    void make_strips(LineRange band, uint8_t* memory) const {
        Strip strip{memory, d_.job.source.stride, {0, 0}};
        for (uint32_t first = band.first, last; first < band.last; first = last) {
            last = smaller(uint64_t{first} + strip_lines_, band.last);
            load(&strip, with_neighbours({first, last}));
            Job job = d_.job;
            job.source.address = origin(strip.memory, strip.lines.first, strip.stride);
            convert_lines(level_, job, d_.conversion, {first, last});
        }
    }

    LineRange with_neighbours(LineRange lines) const {
        if (d_.conversion.kind != RouteKind::bayer) return lines;
        return {lines.first == 0 ? 0 : lines.first - 1,
                lines.last == height_ ? lines.last : lines.last + 1};
    }

    // Lines that are there are moved, the others unpacked.
    void load(Strip* strip, LineRange wanted) const {
        const LineRange have = strip->lines;
        const bool has_some = have.first < have.last && wanted.first < have.last;
        const uint32_t kept = has_some ? have.last - wanted.first : 0;
        if (kept != 0)
            memmove(strip->memory, strip->line(wanted.first), size_t{kept} * strip->stride);
        strip->lines = wanted;
        const LineRange missing{wanted.first + kept, wanted.last};
        if (missing.first < missing.last) unpack(*strip, missing);
        if (source().width % 2 != 0) unpack_behind(*strip);
    }

    void unpack(const Strip& strip, LineRange lines) const {
        Job job = d_.unpacking;
        job.destination.address = origin(strip.memory, strip.lines.first, strip.stride);
        job.destination.stride = strip.stride;
        unpack_lines(level_, *d_.packing, job, lines);
    }

    // With an odd width a conversion may look at the sample after a line: the first one of the
    // next line, and after the picture, zero.
    void unpack_behind(const Strip& strip) const {
        if (strip.lines.last == height_) {
            memset(strip.line(height_), 0, pixel_bytes);
            return;
        }
        Job job = d_.unpacking;
        job.source.width = 1;
        job.destination.address = origin(strip.memory, strip.lines.first, strip.stride);
        job.destination.stride = strip.stride;
        unpack_lines(level_, *d_.packing, job, {strip.lines.last, strip.lines.last + 1});
    }

    const Level& level_;
    const ConvertDecision& d_;
    const Cut& cut_;
    uint32_t height_;
    uint32_t band_lines_ = 0, bands_ = 0, seats_ = 0, strip_lines_ = 0;
    size_t seat_bytes_ = 0;
    uint8_t* memory_ = nullptr;
};

}  // namespace

uint32_t convert(const Level& level, Handle source, uint32_t packing, Handle destination,
                 const TRW_Settings& settings, TRW_Pool* pool, const Cut& cut) {
    const ConvertDecision decision = decide_convert(source, packing, destination, settings);
    if (decision.course == Course::none) return decision.status;
    Conversion conversion(level, decision, cut);
    if (conversion.is_empty()) return decision.status;
    if (!conversion.prepare(threads_of(pool))) return TRV_STATUS_MEMORY;
    conversion.run(pool);
    return decision.status;
}

}  // namespace trv::raw
