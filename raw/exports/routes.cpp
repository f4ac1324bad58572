#include "image/format/routes.h"
#include "raw/exports/record.h"
#include "raw/routes/plan.h"
#include "trvil/raw.h"
#include "trvil/tbl.h"

namespace trv::raw {
namespace {

constexpr bayer::Method methods[] = {bayer::dup, bayer::ave, bayer::med};
constexpr Phase phases[] = {Phase::A, Phase::B, Phase::C, Phase::D};

// The demosaics that parameters 9 and 10 leave open; 0 leaves all of them. Returns 0 for other
// values.
Demosaics demosaics_of(uint32_t method, uint32_t phase) {
    bayer::Method wanted_method{};
    Phase wanted_phase{};
    if (method != 0 && !bayer::find_method(method, &wanted_method)) return 0;
    if (phase != 0 && !bayer::find_phase(phase, &wanted_phase)) return 0;
    unsigned demosaics = 0;
    for (const bayer::Method m : methods)
        for (const Phase p : phases)
            if ((method == 0 || m == wanted_method) && (phase == 0 || p == wanted_phase))
                demosaics |= demosaic_bit(m, p);
    return static_cast<Demosaics>(demosaics);
}

uint32_t methods_of(Demosaics demosaics, uint32_t phase) {
    const unsigned allowed = demosaics & demosaics_of(0, phase);
    uint32_t result = 0;
    for (const bayer::Method m : methods)
        if ((allowed & 0xFu << 4 * static_cast<unsigned>(m)) != 0)
            result |= TRW_DIRECT_DUP << static_cast<unsigned>(m);
    return result;
}

const char* why_not(const Format& from, const Format& to) {
    if (!is_read(from)) return "no conversion reads the first format";
    if (!is_made(to)) return "no conversion makes the last format";
    return "no three conversions lead there and keep the picture";
}

}  // namespace
}  // namespace trv::raw

uint32_t TRW_PlanRoute(uint32_t from, uint32_t to, uint32_t method, uint32_t phase,
                       TRW_Route* route) {
    using namespace trv::raw;
    const trv::Format* first = trv::find_format(from & 0xFF);
    const trv::Format* last = trv::find_format(to & 0xFF);
    const Demosaics demosaics = demosaics_of(method, phase);
    if (!is_record(route) || first == nullptr || last == nullptr || demosaics == 0)
        return TRV_STATUS_PARAMETER;
    TRW_Route full{};
    full.direct = methods_of(direct_demosaics(*first, *last), phase);
    if (full.direct != 0) full.remark = trv::lossy(*first, *last);
    const Plan found = plan(*first, *last, demosaics);
    full.steps = found.steps;
    for (unsigned i = 0; found.found && i <= found.steps; ++i)
        full.format[i] = trv::whole_code(*found.format[i]);
    if (!found.found) full.why = why_not(*first, *last);
    fill_record(full, route);
    return found.found ? TRV_STATUS_OK : TRV_STATUS_UNSUPPORTED;
}
