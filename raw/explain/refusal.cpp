// Why a conversion is refused, in words.
#include <inttypes.h>

#include <initializer_list>

#include "raw/explain/access_extent.h"
#include "raw/explain/words.h"
#include "raw/routes/plan.h"
#include "trvil/raw.h"

namespace trv::raw {
namespace {

// The destinations of a source; how many there are.
unsigned list_destinations(const Format& from, Writer* out) {
    unsigned count = 0;
    for (const Format& to : formats)
        if (route_kind(from, to) != RouteKind::none)
            out->add("%s%s", count++ == 0 ? "" : ", ", to.name);
    return count;
}

void unknown_format(const char* side, uint32_t code, Writer* out) {
    out->add("the %s's format 0x%08" PRIX32 " is no pixel format", side, code);
    out->begin("why");
    out->add("only its low byte counts, and 0x%02" PRIX32 " is none of the %zu codes", code & 0xFF,
             format_count);
    out->begin("next");
    out->add("give the buffer the code of a format by its name, such as TBL_FORMAT(BGR24)");
}

bool converts_to_anything(const Format& from) {
    Writer nowhere(nullptr, 0);
    return list_destinations(from, &nowhere) != 0;
}

void explain_no_pair(const Format& from, const Format& to, Writer* out) {
    out->add("no direct way from %s to %s", from.name, to.name);
    out->begin("why");
    if (!converts_to_anything(from)) {
        out->add("%s is made by conversions, but none reads it", from.name);
        out->begin("next");
        out->add("convert from the picture that this one was made of");
        return;
    }
    out->add("%s converts to ", from.name);
    list_destinations(from, out);
    out->begin("next");
    const Plan found = plan(from, to, any_demosaic);
    if (found.steps < 2) return out->add("choose one of these as the destination");
    out->add("convert to %s first", found.format[1]->name);
    for (unsigned i = 2; i <= found.steps; ++i) out->add(", and that to %s", found.format[i]->name);
}

void explain_no_route(const Job& job, const Decision& decision, Writer* out) {
    if (decision.source == nullptr) return unknown_format("source", job.source.format, out);
    if (decision.destination == nullptr)
        return unknown_format("destination", job.destination.format, out);
    explain_no_pair(*decision.source, *decision.destination, out);
}

void say_sizes(const Job& job, const Decision& decision, Writer* out) {
    const Measure size = measure(job, decision);
    const uint64_t least = size.needed / size.per_byte + (size.needed % size.per_byte != 0);
    const bool packed = decision.route.size == Size::packed;
    out->add("%" PRIu32 " x %" PRIu32 " pixels of %s need %" PRIu64 " bytes%s, and %" PRIu32
             " lines of %" PRIu32 " bytes are %" PRIu64,
             job.source.width, job.source.height, decision.destination->name, least,
             packed ? " (measured by the packed size of the source)" : "", job.destination.height,
             job.destination.stride, job.destination.bytes());
}

void say_what_holds_it(const Job& job, const Decision& decision, Writer* out) {
    const AccessExtent reach = destination_extent(job, decision);
    out->begin("next");
    out->add("give the destination a stride of at least %" PRIu64 " bytes and %" PRIu32 " lines",
             reach.line + reach.behind, job.source.height);
}

void explain_too_small(const Job& job, const Decision& decision, Writer* out) {
    const bool unsaid = decision.refusal == Refusal::too_small_unsaid;
    out->add("%s", unsaid ? "success is reported, but nothing is written"
                          : "the destination is too small");
    out->begin("why");
    say_sizes(job, decision, out);
    if (unsaid)
        out->add("; from %s to %s this refusal is not passed on", decision.source->name,
                 decision.destination->name);
    say_what_holds_it(job, decision, out);
}

// "the source's", or where the settings say it, "the settings'".
const char* whose(bool set) {
    return set ? "settings'" : "source's";
}

void explain_method(const Job& job, bool set, Writer* out) {
    out->add("the %s Bayer method is 0x%" PRIX32 ", which is none", whose(set), job.method);
    out->begin("why");
    out->add("parameter 9, compared whole, is 0x109 (dup), 0x209 (ave) or 0x309 (med)");
    if (set)
        out->add("; 0x%X (gradient) makes words of 48 bits, or BGR24, RGB24, BGRX32, RGBX32",
                 TRW_METHOD_GRADIENT);
    out->begin("next");
    if (set)
        out->add("give the settings TBL_BAYER_METHOD_AVE, or 0 for what the source says");
    else
        out->add(
            "set it: TBS_BufferParameterSet(source, TBL_PARAMETER_BAYER_METHOD, "
            "TBL_BAYER_METHOD_AVE)");
}

void explain_phase(const Job& job, bool set, Writer* out) {
    out->add("the %s Bayer phase is 0x%" PRIX32 ", which is none", whose(set), job.phase);
    out->begin("why");
    out->add(
        "parameter 10, compared whole, is 0x10A (A, RGGB), 0x20A (B, GRBG), 0x30A (C, GBRG) "
        "or 0x40A (D, BGGR)");
    out->begin("next");
    if (set)
        out->add("give the settings TBL_BAYER_PHASE_A, or 0 for what the source says");
    else
        out->add(
            "set it: TBS_BufferParameterSet(source, TBL_PARAMETER_BAYER_PHASE, "
            "TBL_BAYER_PHASE_A)");
}

// "dup in phase A", or "dup" where it exists in all four.
void list_kernels(const bayer::Kernel& wanted, Writer* out) {
    const char* separator = "";
    for (const bayer::Method method : {bayer::dup, bayer::ave, bayer::med}) {
        unsigned count = 0;
        Phase phase = Phase::A;
        for (const bayer::Kernel& kernel : bayer::kernels)
            if (kernel.input == wanted.input && kernel.output == wanted.output &&
                kernel.method == method && count++ == 0)
                phase = kernel.phase;
        if (count == 0) continue;
        out->add("%s%s", separator, method_names[method]);
        if (count == 1) out->add(" in phase %s", phase_names[static_cast<size_t>(phase)]);
        separator = ", ";
    }
}

void explain_no_kernel(const Decision& decision, Writer* out) {
    out->add("%s is not made of %s by %s in phase %s", decision.destination->name,
             decision.source->name, method_names[decision.kernel.method],
             phase_names[static_cast<size_t>(decision.kernel.phase)]);
    out->begin("why");
    out->add("the only method there is ");
    list_kernels(decision.kernel, out);
    out->begin("next");
    out->add(
        "set that by TBS_BufferParameterSet, or convert to BGR24, BGRX32 or RGB16, which all "
        "methods make");
}

}  // namespace

void explain_refusal(const Job& job, const Decision& decision, const Before& before, Writer* out) {
    switch (decision.refusal) {
        case Refusal::no_route:
            return explain_no_route(job, decision, out);
        case Refusal::method:
            return explain_method(job, before.sets_method, out);
        case Refusal::phase:
            return explain_phase(job, before.sets_phase, out);
        case Refusal::no_kernel:
            return explain_no_kernel(decision, out);
        default:
            return explain_too_small(job, decision, out);
    }
}

}  // namespace trv::raw
