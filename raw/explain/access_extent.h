// Which bytes a conversion touches, padding and what lies after a line included.
#pragma once

#include "image/format/decision.h"

namespace trv::raw {

// Lines begin `step` bytes apart. Of each, `line` bytes belong to the picture and `behind` more are
// touched. A picture that is copied as one block is one line.
struct AccessExtent {
    uint64_t line;
    uint64_t behind;
    uint64_t step;
    uint64_t lines;

    // Of a picture that has pixels.
    constexpr uint64_t bytes() const { return step * (lines - 1) + line + behind; }
    constexpr bool lines_overlap() const { return lines > 1 && step < line; }
};

constexpr bool unpacks(const Decision& decision) {
    return decision.route.rule == Rule::unpack;
}

// Unpacking goes on while a group begins inside the line.
constexpr uint64_t unpacked_width(const Job& job, const Format& source) {
    return (uint64_t{job.source.width} + source.group - 1) / source.group * source.group;
}

// Pixels of each line of a packed source that are read, those in front of it included.
constexpr uint64_t packed_width(const Job& job, const Decision& decision) {
    const Format& source = *decision.source;
    if (unpacks(decision)) return unpacked_width(job, source);
    return uint64_t{job.source.width} + job.packing_offset % source.group;
}

constexpr bool looks_behind_odd_lines(const Job& job, const Decision& decision) {
    const bayer::Method method = decision.kernel.method;
    return decision.kind == RouteKind::bayer && (method == bayer::ave || method == bayer::med) &&
           job.source.width % 2 != 0;
}

constexpr bool takes_the_next_pixel(const Decision& decision) {
    return decision.route.rule == Rule::widen_next;
}

constexpr uint64_t read_behind(const Job& job, const Decision& decision) {
    const Format& source = *decision.source;
    if (decision.route.size == Size::packed)
        return line_bytes(source, packed_width(job, decision)) -
               line_bytes(source, job.source.width);
    if (takes_the_next_pixel(decision)) return 4;
    return looks_behind_odd_lines(job, decision) ? source.stored / 8u : 0;
}

constexpr bool reads_whole_words(const Decision& decision) {
    return decision.kind == RouteKind::helper ||
           (decision.kind == RouteKind::bayer && decision.kernel.input == bayer::Input::BAYn);
}

constexpr bool writes_whole_words(const Decision& decision) {
    return decision.kind == RouteKind::bayer && decision.destination->stored == 16;
}

constexpr bool is_sheared_copy(const Job& job, const Decision& decision) {
    return decision.kind == RouteKind::copy && decision.source->stored == 8 &&
           !is_block(job, decision) && job.source.width != job.destination.width;
}

// A width beyond the stride, which no sound buffer has, makes such a copy step backwards.
constexpr bool steps_backwards(const Job& job, const Decision& decision) {
    return is_sheared_copy(job, decision) &&
           uint64_t{job.source.width} + job.destination.stride < job.destination.width;
}

constexpr AccessExtent source_extent(const Job& job, const Decision& decision) {
    const Side& side = job.source;
    if (is_block(job, decision)) return {side.bytes(), 0, 0, 1};
    const uint32_t step = reads_whole_words(decision) ? side.stride & ~1u : side.stride;
    return {line_bytes(*decision.source, side.width), read_behind(job, decision), step,
            side.height};
}

constexpr AccessExtent destination_extent(const Job& job, const Decision& decision) {
    const Format& format = *decision.destination;
    if (is_block(job, decision)) return {job.source.bytes(), 0, 0, 1};
    const uint64_t line = line_bytes(format, job.source.width);
    const uint64_t behind =
        unpacks(decision)
            ? line_bytes(format, unpacked_width(job, *decision.source) - job.source.width)
            : 0;
    uint64_t step = job.destination.stride;
    if (writes_whole_words(decision)) step &= ~uint64_t{1};
    if (is_sheared_copy(job, decision)) step += job.source.width - uint64_t{job.destination.width};
    if (steps_backwards(job, decision)) step = 0;
    return {line, behind, step, job.source.height};
}

}  // namespace trv::raw
