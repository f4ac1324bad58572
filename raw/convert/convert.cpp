#include "raw/convert/convert.h"

#include "raw/convert/decision.h"
#include "raw/convert/strips.h"
#include "raw/pool/pool.h"
#include "raw/unpack/unpack.h"

namespace trv::raw {
namespace {

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
        self->make_band(self->band(part), seat);
    }

    LineRange band(uint32_t part) const {
        const uint32_t height = d_.source().height, first = part * partition_.band_lines;
        const uint32_t left = height - first;
        return {first, first + (partition_.band_lines < left ? partition_.band_lines : left)};
    }

    void make_band(LineRange lines, uint32_t seat) const {
        switch (d_.course) {
            case Course::convert:
                return convert_lines(level_, d_.job, d_.conversion, lines);
            case Course::unpack:
                return unpack_lines(level_, *d_.unpack.packing, d_.unpack.job, lines);
            default:
                return Strips(level_, d_, partition_.strip_lines)
                    .make(lines, memory_ + partition_.seat_bytes * seat);
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
