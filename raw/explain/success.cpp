// What is to be known of a conversion that is not refused, in words.
#include <inttypes.h>

#include <initializer_list>

#include "image/format/routes.h"
#include "raw/explain/access_extent.h"
#include "raw/explain/words.h"

namespace trv::raw {
namespace {

struct Case {
    const Job& job;
    const Decision& decision;
    const Format& source;
    const Format& destination;
    AccessExtent from;
    AccessExtent to;
    const Before& before;
    Writer* out;

    bool demosaics() const { return decision.kind == RouteKind::bayer; }
    void warn() const { out->begin("warning"); }
    void note() const { out->begin("note"); }
};

// ---- Memory ----

void nothing_to_do(const Case& c) {
    c.warn();
    if (c.demosaics() && c.job.source.width != 0 && c.job.source.height != 0)
        c.out->add(
            "nothing is written: a mosaic has at least 2 x 2 pixels, and the kernel's "
            "refusal is not passed on");
    else
        c.out->add("nothing is written: the source has no pixels");
}

void overrun(const Case& c) {
    const uint64_t held = c.job.destination.bytes();
    if (c.to.bytes() <= held) return;
    c.warn();
    c.out->add(
        "%" PRIu64 " bytes are written where the destination's %" PRIu32 " lines of %" PRIu32
        " bytes are %" PRIu64
        ", and no size check sees it; make room for them, best by a stride of at least %" PRIu64
        " bytes and %" PRIu32 " lines",
        c.to.bytes(), c.job.destination.height, c.job.destination.stride, held,
        c.to.line + c.to.behind, c.job.source.height);
}

bool is_in_place(const Case& c) {
    return c.before.unpack == nullptr && c.job.source.address == c.job.destination.address &&
           c.job.source.stride == c.job.destination.stride &&
           c.destination.stored <= c.source.stored && !c.demosaics();
}

bool lies_apart(const Case& c) {
    const uint8_t* to = c.job.destination.address;
    if (c.before.unpack == nullptr)
        return lie_apart(c.job.source.address, c.from.bytes(), to, c.to.bytes());
    const Side& packed = c.before.unpack->job.source;
    const uint64_t bytes =
        (packed.height - uint64_t{1}) * packed.stride + c.before.unpack->packed_line();
    return lie_apart(packed.address, bytes, to, c.to.bytes());
}

void overlap(const Case& c) {
    if (lies_apart(c) || is_in_place(c)) return;
    c.warn();
    if (c.before.unpack != nullptr)
        return c.out->add("source and destination share memory, and the picture is undefined");
    c.out->add(
        "source and destination share memory, and the picture is undefined; in place works "
        "at the same address and stride, when pixels do not grow and the source is no "
        "mosaic");
}

void short_strides(const Case& c) {
    if (c.from.lines_overlap()) {
        c.warn();
        c.out->add("the source's lines of %" PRIu64 " bytes begin %" PRIu64
                   " bytes apart, so each is read into the next one",
                   c.from.line, c.from.step);
    }
    if (c.to.lines_overlap() && !steps_backwards(c.job, c.decision)) {
        c.warn();
        c.out->add("the destination's lines of %" PRIu64 " bytes begin %" PRIu64
                   " bytes apart, so each overwrites the end of the one before",
                   c.to.line, c.to.step);
    }
}

void odd_strides(const Case& c) {
    const bool source = c.job.source.stride % 2 != 0 && reads_whole_words(c.decision);
    const bool destination = c.job.destination.stride % 2 != 0 && writes_whole_words(c.decision);
    if (!source && !destination) return;
    c.warn();
    c.out->add(
        "the odd stride of the %s is rounded down to an even one, so lines begin a byte too "
        "early, the second by 1, the third by 2; use an even stride",
        source && destination ? "source and of the destination"
        : source              ? "source"
                              : "destination");
}

void say_reach(const char* done, const char* able, uint64_t bytes, Writer* out) {
    out->add("each line is %s to %" PRIu64
             " byte%s after its end, and after the last one memory "
             "must be %s too, as it is in buffers of TBS_BufferCreate",
             done, bytes, bytes == 1 ? "" : "s", able);
}

// The sample after an odd line of strips is that of a picture without padding.
void behind_strips(const Case& c) {
    c.note();
    c.out->add(
        "the width is odd, so %s takes the first sample of the next line into the last pixel of "
        "each, and 0 into that of the last",
        method_names[c.decision.kernel.method]);
}

void behind_lines(const Case& c) {
    if (c.from.behind == 0) return;
    if (c.before.unpack != nullptr) return behind_strips(c);
    if (looks_behind_odd_lines(c.job, c.decision)) {
        c.warn();
        c.out->add(
            "the width is odd, so %s takes the sample after every line into its last "
            "pixel; put one of the same colour there, such as that two pixels before it",
            method_names[c.decision.kernel.method]);
    }
    c.note();
    say_reach("read", "readable", c.from.behind, c.out);
}

void whole_groups(const Case& c) {
    if (c.to.behind == 0) return;
    c.note();
    say_reach("written", "writable", c.to.behind, c.out);
    c.out->add(", because the width is no multiple of %u", c.source.group);
}

// ---- Geometry and settings ----

void other_size(const Case& c) {
    if (c.before.unpack != nullptr) return note_lines(*c.before.unpack, c.out);
    const Side &from = c.job.source, &to = c.job.destination;
    if (steps_backwards(c.job, c.decision)) {
        c.warn();
        c.out->add(
            "the destination's width exceeds its stride, so lines are written in front of "
            "its memory; give it the source's width");
    } else if (is_sheared_copy(c.job, c.decision)) {
        c.warn();
        c.out->add("lines are written %" PRIu64 " bytes apart, not %" PRIu32
                   ", because the widths differ, so the picture shears; give both the same width",
                   c.to.step, to.stride);
    } else if (from.width != to.width || from.height != to.height) {
        c.note();
        c.out->add("the source's %" PRIu32 " x %" PRIu32
                   " pixels are written; the destination says %" PRIu32 " x %" PRIu32,
                   from.width, from.height, to.width, to.height);
    }
}

void blocks(const Case& c) {
    if (!is_block(c.job, c.decision) || c.from.line == 0) return;
    const uint64_t line = line_bytes(c.source, c.job.source.width);
    if (line == c.job.source.stride) return;
    c.note();
    c.out->add(
        "strides are the same, so the picture is copied as one block, bytes between lines "
        "and after the last one included");
}

void letter(const Case& c) {
    if (!c.demosaics() || c.source.phase == Phase::none ||
        c.source.phase == c.decision.kernel.phase)
        return;
    c.note();
    c.out->add("%s phase %s, and the letter in %s is not looked at",
               c.before.sets_phase ? "the settings say" : "parameter 10 says",
               phase_names[static_cast<size_t>(c.decision.kernel.phase)], c.source.name);
}

void packing_offset(const Case& c) {
    const uint32_t place = c.job.packing_offset % c.source.group;
    if (!unpacks(c.decision) || place == 0) return;
    c.warn();
    c.out->add("unpacking does not look at the packing offset, so the picture begins %" PRIu32
               " pixels too early; unpack from a pixel whose place is a multiple of %u",
               place, c.source.group);
}

void high_bits_of(const char* name, const Side& side, const Format& format, const Case& c) {
    if (find_whole_format(side.format) != nullptr) return;
    c.note();
    c.out->add(
        "the %s's format 0x%08" PRIX32
        " is taken for %s, because only the low byte counts here; TIFF files and frames from "
        "fields compare all of it",
        name, side.format, format.name);
}

void high_bits(const Case& c) {
    high_bits_of("source", c.job.source, c.source, c);
    high_bits_of("destination", c.job.destination, c.destination, c);
}

// ---- The picture ----

void spoiled(const Case& c) {
    const char* what = lossy(c.source, c.destination);
    if (what == nullptr) return;
    c.warn();
    c.out->add("this route %s, so the result is no picture; go by way of another format", what);
}

bool has_pad(const Format& format) {
    return has(format, Channel::X);
}

bool has_three_channels(const Format& format) {
    return format.family != Family::grey && !has(format, Channel::A);
}

void pad(const Case& c) {
    if (c.decision.kind == RouteKind::copy || !has_pad(c.destination)) return;
    if (!has_three_channels(c.source)) return;
    c.note();
    c.out->add("the pad byte of each %s pixel keeps what it holds", c.destination.name);
}

void unscaled(const Case& c) {
    if (c.destination.significant <= c.source.significant) return;
    if (c.destination.stored == 16 && c.destination.family == Family::word) return;
    c.note();
    c.out->add("values are not scaled: the brightest of %u bits stays %u, which is dark in %u",
               c.source.significant, (1u << c.source.significant) - 1, c.destination.significant);
}

void odd_yuv(const Case& c) {
    if (c.source.family != Family::yuv || c.job.source.width % 2 == 0) return;
    c.note();
    c.out->add(
        "the width is odd, so the last pixel of each line takes its V from the pair before "
        "it, or 128");
}

void place(const Case& c) {
    if (c.before.unpack != nullptr) note_place(*c.before.unpack, c.out);
}

void title(const Case& c) {
    const UnpackDecision* unpack = c.before.unpack;
    c.out->add("%s becomes %s", unpack == nullptr ? c.source.name : unpack->packing->name,
               c.destination.name);
    if (unpack != nullptr) c.out->add(" by way of %s", c.source.name);
    c.out->add(", %" PRIu32 " x %" PRIu32 " pixels", c.job.source.width, c.job.source.height);
    if (!c.demosaics()) return;
    c.out->add(", by %s in phase %s", method_names[c.decision.kernel.method],
               phase_names[static_cast<size_t>(c.decision.kernel.phase)]);
}

bool does_nothing(const Case& c) {
    const Side& side = c.job.source;
    if (is_block(c.job, c.decision)) return c.from.line == 0;
    return side.width == 0 || side.height == 0 ||
           (c.demosaics() && (side.width < 2 || side.height < 2));
}

}  // namespace

void explain_success(const Job& job, const Decision& decision, const Before& before, Writer* out) {
    const Case c{job,
                 decision,
                 *decision.source,
                 *decision.destination,
                 source_extent(job, decision),
                 destination_extent(job, decision),
                 before,
                 out};
    title(c);
    if (does_nothing(c)) return nothing_to_do(c);
    for (const auto say :
         {overrun, overlap, short_strides, odd_strides, other_size, packing_offset, spoiled, place,
          behind_lines, whole_groups, blocks, letter, pad, unscaled, odd_yuv, high_bits})
        say(c);
}

}  // namespace trv::raw
