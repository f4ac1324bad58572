#include "raw/demosaic/decision.h"

#include "trvil/raw.h"

namespace trv::raw {
namespace {

bool is_mosaic(const Format* format) {
    return format != nullptr && format->family == Family::bayer && !is_packed(*format);
}

// Words of colour: as deep as the samples, or with room to spare.
bool is_words(const Format& mosaic, const Format& to) {
    return to.stored == 48 && (to.significant == 16 || to.significant == mosaic.significant);
}

bool is_bytes(const Format& to) {
    constexpr Code all[] = {Code::BGR24, Code::RGB24, Code::BGRX32, Code::RGBX32};
    for (const Code code : all)
        if (to.code == code) return true;
    return false;
}

Refusal check(const Job& job, Decision* d) {
    if (!measure(job, *d).fits()) return Refusal::too_small;
    d->kernel.input = bayer::input_of(*d->source);
    if (!find_demosaic_method(job.method, &d->kernel.method)) return Refusal::method;
    return bayer::find_phase(job.phase, &d->kernel.phase) ? Refusal::none : Refusal::phase;
}

}  // namespace

bool find_demosaic_method(uint32_t value, bayer::Method* method) {
    if (value == TRW_METHOD_GRADIENT) {
        *method = method_gradient;
        return true;
    }
    return bayer::find_method(value, method);
}

OwnDemosaic decide_demosaic(const Job& job) {
    const Format* from = find_format(job.source.format & 0xFF);
    const Format* to = find_format(job.destination.format & 0xFF);
    if (!is_mosaic(from) || to == nullptr) return {};
    const bool by_gradient = job.method == TRW_METHOD_GRADIENT && is_bytes(*to);
    if (!is_words(*from, *to) && !by_gradient) return {};
    Decision d{};
    d.route = {Rule::bayer, Size::whole, 0, 0};
    d.kind = RouteKind::bayer;
    d.source = from;
    d.destination = to;
    d.refusal = check(job, &d);
    return {true, d};
}

bool is_demosaiced(const Format& mosaic, const Format& destination) {
    const RouteKind kind = route_kind(mosaic, destination);
    return is_mosaic(&mosaic) &&
           (kind == RouteKind::bayer || is_words(mosaic, destination) || is_bytes(destination));
}

}  // namespace trv::raw
