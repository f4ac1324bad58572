// What TRW_Unpack does or refuses, in words.
#include <inttypes.h>

#include "raw/explain/words.h"
#include "trvil/tbl.h"

namespace trv::raw {
namespace {

void explain_no_packing(const Unpacking& call, Writer* out) {
    out->add("0x%02" PRIX32 " is no packing", call.packing);
    out->begin("why");
    out->add("they are 0x01 (%s) to 0x%02zX (%s)", packings[0].name, packing_count,
             packings[packing_count - 1].name);
    out->begin("next");
    out->add("give the packing by its name, such as TRW_PACKING_12Packed");
}

void explain_other_samples(const Unpacking& call, Writer* out) {
    const Packing& packing = *call.decision.packing;
    const uint32_t code = call.decision.job.destination.format;
    const Format* format = find_format(code & 0xFF);
    if (format == nullptr)
        out->add("the destination's format 0x%08" PRIX32 " is no pixel format", code);
    else
        out->add("%s does not become %s", packing.name, format->name);
    out->begin("why");
    if (packing.target == Target::yuv422)
        out->add("it is 4:2:2, as YUV422 is and nothing else here");
    else
        out->add("its samples have %u bits and go into words of 16", packing.bits);
    out->begin("next");
    if (packing.target == Target::yuv422)
        out->add("give the destination the format YUV422, and convert from there");
    else
        out->add(
            "give the destination the format Mono%u, or BAY%u or BAY%u_A to _D, and convert "
            "from there",
            packing.bits, packing.bits, packing.bits);
}

void explain_source_stride(const UnpackDecision& d, Writer* out) {
    out->add("the source's stride is too small");
    out->begin("why");
    out->add("%" PRIu32 " pixels of %s take %" PRIu64 " bytes, and lines begin %" PRIu32
             " bytes apart",
             d.job.source.width, d.packing->name, d.packed_line(), d.job.source.stride);
    out->begin("next");
    out->add("give the source the stride of its packed lines; TRW_PackingInfoGet says their bytes");
}

void explain_too_small(const UnpackDecision& d, Writer* out) {
    const Side &from = d.job.source, &to = d.job.destination;
    out->add("the destination is too small");
    out->begin("why");
    if (d.refusal == UnpackRefusal::too_few_lines)
        out->add("the source has %" PRIu32 " lines and the destination %" PRIu32, from.height,
                 to.height);
    else
        out->add("%" PRIu32 " pixels of %s are %" PRIu64 " bytes, and lines begin %" PRIu32
                 " bytes apart",
                 from.width, find_format(to.format & 0xFF)->name, d.line(), to.stride);
    out->begin("next");
    out->add("give the destination a stride of at least %" PRIu64 " bytes and %" PRIu32 " lines",
             d.line(), from.height);
}

void explain_inside_group(const UnpackDecision& d, Writer* out) {
    out->add("the picture begins inside a group of %s", d.packing->name);
    out->begin("why");
    out->add("the packing offset is %" PRIu32
             ", and the chrominance of the first pixel lies in front of the picture",
             d.job.packing_offset);
    out->begin("next");
    out->add("begin with a pixel whose place is even");
}

void warn_of_overlap(const UnpackDecision& d, Writer* out) {
    const Side &from = d.job.source, &to = d.job.destination;
    const auto begin = reinterpret_cast<uintptr_t>(from.address);
    const auto other = reinterpret_cast<uintptr_t>(to.address);
    const uint64_t above = from.height - 1;
    const bool apart = begin + above * from.stride + d.packed_line() <= other ||
                       other + above * to.stride + d.line() <= begin;
    if (apart) return;
    out->begin("warning");
    out->add("source and destination share memory, and the picture is undefined");
}

void explain_unpacked(const UnpackDecision& d, Writer* out) {
    const Side& from = d.job.source;
    out->add("%s becomes %s, %" PRIu32 " x %" PRIu32 " pixels", d.packing->name,
             find_format(d.job.destination.format & 0xFF)->name, from.width, from.height);
    warn_of_overlap(d, out);
    note_place(d, out);
    note_lines(d, out);
}

}  // namespace

void note_lines(const UnpackDecision& d, Writer* out) {
    const Side &from = d.job.source, &to = d.job.destination;
    if (from.height == to.height) return;
    out->begin("note");
    out->add("the source's %" PRIu32 " lines are written; the destination has %" PRIu32,
             from.height, to.height);
}

void note_place(const UnpackDecision& d, Writer* out) {
    const uint32_t place = d.job.packing_offset % d.packing->group;
    if (place == 0) return;
    out->begin("note");
    out->add("lines begin at place %" PRIu32 " of a group of %u pixels, as the packing offset says",
             place, d.packing->group);
}

void explain_unpack(const Unpacking& call, Writer* out) {
    const auto missing_source = [&](uint32_t id) {
        explain_missing({"source", call.source, id}, out);
    };
    const auto missing_destination = [&](uint32_t id) {
        explain_missing({"destination", call.destination, id}, out);
    };
    switch (call.decision.refusal) {
        case UnpackRefusal::none:
            return explain_unpacked(call.decision, out);
        case UnpackRefusal::no_source:
            return missing_source(TBL_PARAMETER_PRESENT);
        case UnpackRefusal::no_source_memory:
            return missing_source(TBL_PARAMETER_ADDRESS);
        case UnpackRefusal::no_source_pixels:
            return missing_source(call.decision.job.source.width == 0 ? TBL_PARAMETER_WIDTH
                                                                      : TBL_PARAMETER_HEIGHT);
        case UnpackRefusal::no_destination:
            return missing_destination(TBL_PARAMETER_PRESENT);
        case UnpackRefusal::no_destination_memory:
            return missing_destination(TBL_PARAMETER_ADDRESS);
        case UnpackRefusal::no_destination_format:
            return missing_destination(TBL_PARAMETER_FORMAT);
        case UnpackRefusal::no_packing:
            return explain_no_packing(call, out);
        case UnpackRefusal::other_samples:
            return explain_other_samples(call, out);
        case UnpackRefusal::short_source_stride:
            return explain_source_stride(call.decision, out);
        case UnpackRefusal::inside_group:
            return explain_inside_group(call.decision, out);
        case UnpackRefusal::short_destination_stride:
        case UnpackRefusal::too_few_lines:
            return explain_too_small(call.decision, out);
    }
}

}  // namespace trv::raw
