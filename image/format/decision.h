// What TIL_Convert makes of two buffers, decided by what they say of themselves; no pixel is looked
// at. TIL_Convert acts on the decision, TRW_Explain puts it into words.
#pragma once

#include "image/format/job.h"
#include "image/format/members.h"
#include "image/format/routes.h"
#include "image/format/size_rule.h"
#include "trvil/status.h"

namespace trv {

enum class Refusal : uint8_t {
    none,
    no_route,
    too_small,
    too_small_unsaid,  // not passed on: the caller reads success
    method,
    phase,
    no_kernel
};

struct Decision {
    Route route;
    RouteKind kind;  // of that route
    Refusal refusal;
    const Format* source;  // null when there is no such format
    const Format* destination;
    bayer::Kernel kernel;  // for RouteKind::bayer, as far as it was decided
};

constexpr uint32_t status_of(Refusal refusal) {
    switch (refusal) {
        case Refusal::no_route:
            return TRV_STATUS_UNSUPPORTED;
        case Refusal::too_small:
            return TRV_STATUS_PARAMETER;
        case Refusal::method:
        case Refusal::phase:
        case Refusal::no_kernel:
            return TRV_STATUS_BAYER_SETTING;
        default:
            return TRV_STATUS_OK;
    }
}

constexpr Measure measure(const Job& job, const Decision& decision) {
    return measure(decision.route.size, *decision.source, *decision.destination,
                   {uint64_t{job.source.width} * job.source.height, job.destination.bytes()});
}

// Deliberate: grey pictures of the same format, stride and height are copied as one block, padding
// and all, whatever their widths are and without a size check.
constexpr bool is_grey_block(const Job& job, const Decision& decision) {
    return decision.kind == RouteKind::copy && decision.source->family == Family::grey &&
           job.source.stride == job.destination.stride &&
           job.source.height == job.destination.height;
}

// Pictures of the same stride are copied as one block.
constexpr bool is_block(const Job& job, const Decision& decision) {
    return is_grey_block(job, decision) ||
           (decision.kind == RouteKind::copy && decision.source->family != Family::grey &&
            job.source.stride == job.destination.stride);
}

// From line to line of the destination of a copy that is no block. Deliberate: a line of bytes ends
// the source's width after its start and then goes on by the destination's padding, so lines shear
// when the two widths differ.
constexpr uint64_t copy_step(const Job& job, const Decision& decision) {
    if (decision.source->stored != 8) return job.destination.stride;
    return uint64_t{job.source.width} + job.destination.stride - job.destination.width;
}

// Deliberate: from grey words to 4-byte pixels a refusal is not passed on.
constexpr Refusal too_small(const Decision& decision) {
    return decision.route.size == Size::unsaid ? Refusal::too_small_unsaid : Refusal::too_small;
}

constexpr Refusal choose_kernel(const Job& job, Decision* decision) {
    bayer::Kernel& kernel = decision->kernel;
    kernel.input = bayer::input_of(*decision->source);
    kernel.output = bayer::output_of(decision->destination->code);
    if (!bayer::find_method(job.method, &kernel.method)) return Refusal::method;
    if (!bayer::find_phase(job.phase, &kernel.phase)) return Refusal::phase;
    return bayer::exists(kernel) ? Refusal::none : Refusal::no_kernel;
}

// For two buffers that are present and have a format and an address.
constexpr Decision decide(const Job& job) {
    const Route route = find_route(job.source.format, job.destination.format);
    Decision decision{route,
                      route_kind(route),
                      Refusal::none,
                      find_format(job.source.format & 0xFF),
                      find_format(job.destination.format & 0xFF),
                      bayer::Kernel{}};
    if (decision.kind == RouteKind::none)
        decision.refusal = Refusal::no_route;
    else if (!is_grey_block(job, decision) && !measure(job, decision).fits())
        decision.refusal = too_small(decision);
    else if (decision.kind == RouteKind::bayer)
        decision.refusal = choose_kernel(job, &decision);
    return decision;
}

}  // namespace trv
