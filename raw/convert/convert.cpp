#include "raw/convert/convert.h"

#include "raw/convert/cut.h"
#include "raw/convert/decision.h"
#include "raw/convert/lines.h"
#include "raw/pool/pool.h"
#include "raw/unpack/unpack.h"

namespace trv::raw {
namespace {

// The stages of a strip that is unpacked and becomes lines of the picture.
struct Stages {
    const Level& level;
    const ConvertDecision& d;

    void fill(const Strip& strip, uint32_t width, LineRange lines) const {
        Job job = d.unpack.job;
        job.source.width = width;
        job.destination.address = strip.origin();
        job.destination.stride = strip.stride;
        unpack_lines(level, *d.unpack.packing, job, lines);
    }
    void finish(const Strip& strip, LineRange lines) const {
        Job job = d.job;
        job.source.address = strip.origin();
        convert_lines(level, job, d.conversion, lines);
    }
};

class Conversion {
  public:
    Conversion(const Level& level, const ConvertDecision& decision, const Partition& partition,
               uint8_t* memory)
        : level_(level), d_(decision), partition_(partition), memory_(memory) {}

    void run(TRW_Pool* pool) const {
        raw::run(pool, {make, const_cast<Conversion*>(this), partition_.bands, partition_.seats});
    }

  private:
    static void make(void* context, uint32_t part, uint32_t seat) {
        const auto* self = static_cast<const Conversion*>(context);
        self->make_band(self->partition_.band(part), seat);
    }

    void make_band(LineRange lines, uint32_t seat) const {
        switch (d_.course) {
            case Course::convert:
                return convert_lines(level_, d_.job, d_.conversion, lines);
            case Course::unpack:
                return unpack_lines(level_, *d_.unpack.packing, d_.unpack.job, lines);
            default:
                return make_strips(Stages{level_, d_}, strip_shape(d_, partition_), lines,
                                   memory_ + partition_.seat_bytes * seat);
        }
    }

    const Level& level_;
    const ConvertDecision& d_;
    const Partition& partition_;
    uint8_t* memory_;
};

}  // namespace

uint32_t convert(const Level& level, Handle source, uint32_t packing, Handle destination,
                 const TRW_Settings& settings, TRW_Pool* pool, const Cut& cut) {
    const ConvertDecision decision = decide_convert(source, packing, destination, settings);
    if (decision.course == Course::none || decision.source().height == 0) return decision.status;
    const Partition partition = cut_picture(decision, threads_of(pool), cut);
    const LentMemory memory(pool, partition.bytes());
    if (memory.is_missing()) return TRV_STATUS_MEMORY;
    Conversion(level, decision, partition, memory.data()).run(pool);
    return decision.status;
}

}  // namespace trv::raw
