// Which pairs of a mosaic and a picture the raw library demosaics by itself, and by what.
#pragma once

#include "image/format/decision.h"
#include "raw/demosaic/demosaic.h"

namespace trv::raw {

// What such a pair comes to, as a decision of RouteKind::bayer whose kernel says method and phase.
// Null for a job that TIL_Convert's rules decide.
struct OwnDemosaic {
    bool is_one;
    Decision decision;
};
OwnDemosaic decide_demosaic(const Job& job);

// Whether a decision that is not refused is one of these.
constexpr bool is_own_demosaic(const Decision& decision) {
    return decision.kind == RouteKind::bayer &&
           (decision.destination->stored == 48 || decision.kernel.method == method_gradient);
}

// Whether demosaicing has results of such a format, by this library or by TIL_Convert.
bool is_demosaiced(const Format& mosaic, const Format& destination);

constexpr Demosaic demosaic_of(const Decision& decision) {
    return {decision.kernel.method, decision.kernel.phase, decision.destination};
}

// The methods of the kernels, and `gradient`.
bool find_demosaic_method(uint32_t value, bayer::Method* method);

// Lines above and below its own that a line is demosaiced from.
constexpr uint32_t neighbour_lines(bayer::Method method) {
    return method == method_gradient ? 2 : 1;
}
constexpr uint32_t neighbour_lines(const Decision& decision) {
    return decision.kind == RouteKind::bayer ? neighbour_lines(decision.kernel.method) : 0;
}

}  // namespace trv::raw
