// What TRW_Convert does or refuses, in words.
#include <inttypes.h>

#include "raw/convert/cut.h"
#include "raw/explain/access_extent.h"
#include "raw/explain/explain.h"
#include "raw/explain/words.h"

namespace trv::raw {
namespace {

struct Call {
    Handle source;
    uint32_t packing;
    Handle destination;
    const TRW_Settings& settings;
    uint32_t threads;
    const ConvertDecision& d;

    Before before() const {
        return {d.unpack.packing == nullptr ? nullptr : &d.unpack, settings.method != 0,
                settings.phase != 0};
    }
};

// "Mono12, BAY12, BAY12_A ..." or "YUV422".
void list_samples(const Packing& packing, Writer* out) {
    const char* separator = "";
    for (const Format& format : formats) {
        if (!goes_to(packing, static_cast<uint32_t>(format.code))) continue;
        out->add("%s%s", separator, format.name);
        separator = ", ";
    }
}

void explain_samples(const Call& call, Writer* out) {
    const Packing& packing = *call.d.unpack.packing;
    const uint32_t code = call.settings.format;
    const Format* format = find_format(code & 0xFF);
    if (format == nullptr)
        out->add("the settings' format 0x%08" PRIX32 " is no pixel format", code);
    else
        out->add("the settings say %s, which samples of %s are not", format->name, packing.name);
    out->begin("why");
    out->add("%s is unpacked to ", packing.name);
    list_samples(packing, out);
    out->begin("next");
    out->add("give the settings one of these, or 0 for what the source's pixel format says");
}

void explain_long_lines(const Call& call, Writer* out) {
    const UnpackDecision& unpack = call.d.unpack;
    out->add("the lines are too long");
    out->begin("why");
    out->add("%" PRIu32 " pixels are %" PRIu64
             " bytes when they are unpacked, and a stride has 32 bits",
             unpack.job.source.width, unpack.line());
    out->begin("next");
    out->add("give the source fewer pixels in a line and more lines");
}

void explain_refused(const Call& call, Writer* out) {
    switch (call.d.refusal) {
        case ConvertRefusal::buffers:
            return explain_missing(find_missing(call.source, call.destination, call.d.job), out);
        case ConvertRefusal::unpacking:
            return explain_unpack({call.source, call.packing, call.destination, call.d.unpack},
                                  out);
        case ConvertRefusal::samples:
            return explain_samples(call, out);
        case ConvertRefusal::long_lines:
            return explain_long_lines(call, out);
        default:
            return explain_refusal(call.d.job, call.d.conversion, call.before(), out);
    }
}

void say_strips(const Partition& partition, const ConvertDecision& d, Writer* out) {
    out->begin("note");
    out->add("%" PRIu32 " line%s at a time %s unpacked, %" PRIu64
             " bytes, and become the picture from there",
             partition.strip_lines, partition.strip_lines == 1 ? "" : "s",
             partition.strip_lines == 1 ? "is" : "are",
             uint64_t{partition.strip_lines} * d.job.source.stride);
}

void say_threads(const Call& call, const Partition& partition, Writer* out) {
    out->begin("note");
    if (partition.seats > 1)
        return out->add("%" PRIu32 " threads share %" PRIu32 " bands of %" PRIu32 " lines",
                        partition.seats, partition.bands, partition.band_lines);
    out->add("the calling thread works alone, because %s",
             call.threads == 1          ? "there is no pool of more"
             : depends_on_order(call.d) ? "lines overlap, so that their order counts"
                                        : "the picture is small");
}

void explain_done(const Call& call, Writer* out) {
    if (call.d.course == Course::unpack)
        explain_unpack({call.source, call.packing, call.destination, call.d.unpack}, out);
    else
        explain_success(call.d.job, call.d.conversion, call.before(), out);
    if (call.d.source().width == 0 || call.d.source().height == 0) return;
    const Partition partition = cut_picture(call.d, call.threads, usual_cut);
    if (partition.strip_lines != 0) say_strips(partition, call.d, out);
    say_threads(call, partition, out);
}

}  // namespace

uint32_t explain_conversion(Handle source, uint32_t packing, Handle destination,
                            const TRW_Settings& settings, uint32_t threads, Writer* out) {
    const ConvertDecision decision = decide_convert(source, packing, destination, settings);
    const Call call{source, packing, destination, settings, threads, decision};
    out->add("status %" PRIu32 ": ", decision.status);
    if (decision.course == Course::none)
        explain_refused(call, out);
    else
        explain_done(call, out);
    return decision.status;
}

}  // namespace trv::raw
