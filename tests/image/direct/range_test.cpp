// Ranges of lines come to what the whole picture comes to, and touch nothing of the lines around
// them: each range has memory of its own, with guard pages where other ranges' bytes would be.
#include "image/dispatch/run.h"
#include "raw/explain/access_extent.h"
#include "tests/harness.h"

namespace {

using test::Guarded;
using test::Random;

struct Bytes {
    size_t first, end;
};

struct Case {
    trv::Job job;
    trv::Decision decision;
    trv::raw::AccessExtent from, to;
};

// Whether the last byte of a pixel stays what it was.
bool keeps_last(const trv::Decision& decision) {
    return decision.kind != trv::RouteKind::copy &&
           trv::routing::table.conversions[decision.route.row].keeps_last();
}

// The bytes of a side's lines, in a picture whose first line begins at 0.
Bytes source_bytes(const Case& c, trv::LineRange lines) {
    if (trv::is_block(c.job, c.decision))
        return {size_t{c.job.source.stride} * lines.first,
                size_t{c.job.source.stride} * lines.last};
    return {c.from.step * lines.first,
            c.from.step * (lines.last - 1) + c.from.line + c.from.behind};
}

// Without the last pad byte. What unpacking writes after a width ends with the padding, unless the
// picture does.
Bytes destination_bytes(const Case& c, trv::LineRange lines) {
    const size_t stride = c.job.destination.stride;
    if (trv::is_block(c.job, c.decision)) return {stride * lines.first, stride * lines.last};
    const size_t last_line = c.to.step * (lines.last - 1);
    size_t end = last_line + c.to.line + c.to.behind;
    if (lines.last != c.job.source.height) end = std::min(end, last_line + stride);
    end = std::min(end, last_line + c.to.line + c.to.behind - keeps_last(c.decision));
    return {c.to.step * lines.first, end};
}

Case any_case(const trv::Format& from, const trv::Format& to, Random& random) {
    const uint32_t width = test::any_width(random), height = random.between(1, 9);
    Case c{};
    c.job.packing_offset = random.below(8);
    c.job.source = {trv::whole_code(from), nullptr,
                    test::any_stride(random, trv::line_bytes(from, width + 8)), width, height};
    c.job.destination = {trv::whole_code(to), nullptr,
                         test::any_stride(random, trv::line_bytes(to, width)), width, height};
    if (random.one_in(3)) {  // no padding
        c.job.source.stride = static_cast<uint32_t>(trv::line_bytes(from, width));
        c.job.destination.stride = static_cast<uint32_t>(trv::line_bytes(to, width));
    }
    c.job.source.stride = (c.job.source.stride + 1) & ~1u;  // helpers step in words
    c.decision = trv::decide(c.job);
    // A pad byte that is the next line's first one.
    if (keeps_last(c.decision) && random.one_in(4)) {
        c.job.destination.stride = static_cast<uint32_t>(trv::line_bytes(to, width)) - 1;
        ++c.job.destination.height;
        c.decision = trv::decide(c.job);
    }
    c.from = trv::raw::source_extent(c.job, c.decision);
    c.to = trv::raw::destination_extent(c.job, c.decision);
    return c;
}

void convert(const trv::Level& level, const Case& c, const std::vector<uint8_t>& source,
             std::vector<uint8_t>* picture, trv::LineRange lines, Random& random) {
    const Bytes from = source_bytes(c, lines), to = destination_bytes(c, lines);
    const Guarded in(from.end - from.first, test::any_side(random));
    const Guarded out(to.end - to.first, test::any_side(random));
    std::memcpy(in.data(), source.data() + from.first, in.size());
    std::memcpy(out.data(), picture->data() + to.first, out.size());
    trv::Job job = c.job;
    job.source.address = in.data() - from.first;
    job.destination.address = out.data() - to.first;
    trv::convert_lines(level, job, c.decision, lines);
    std::memcpy(picture->data() + to.first, out.data(), out.size());
}

// Parts of the picture in any order.
std::vector<trv::LineRange> any_ranges(uint32_t height, Random& random) {
    std::vector<trv::LineRange> ranges;
    for (uint32_t first = 0; first < height;) {
        const uint32_t last = first + random.between(1, height - first);
        ranges.push_back({first, last});
        first = last;
    }
    for (size_t i = ranges.size(); i > 1; --i)
        std::swap(ranges[i - 1], ranges[random.below(static_cast<uint32_t>(i))]);
    return ranges;
}

void compare(const Case& c, const trv::Level& level, Random& random) {
    const uint32_t height = c.job.source.height;
    std::vector<uint8_t> source(source_bytes(c, {0, height}).end);
    for (uint8_t& byte : source) byte = static_cast<uint8_t>(random.bits());
    std::vector<uint8_t> whole(destination_bytes(c, {0, height}).end), parts;
    for (uint8_t& byte : whole) byte = static_cast<uint8_t>(random.bits());
    parts = whole;
    convert(level, c, source, &whole, {0, height}, random);
    for (const trv::LineRange& lines : any_ranges(height, random))
        convert(level, c, source, &parts, lines, random);
    const auto [differs, _] = std::mismatch(whole.begin(), whole.end(), parts.begin());
    ASSERT_EQ(whole, parts) << c.decision.source->name << " to " << c.decision.destination->name
                            << " level " << level.name << " " << c.job.source.width << "x" << height
                            << " stride " << c.job.destination.stride << " byte "
                            << differs - whole.begin();
}

TEST(Range, EveryRouteInParts) {
    Random random(test::seed());
    const auto levels = test::machine_levels();
    for (const trv::Format& from : trv::formats)
        for (const trv::Format& to : trv::formats) {
            const trv::RouteKind kind = trv::route_kind(from, to);
            if (kind == trv::RouteKind::none || kind == trv::RouteKind::bayer) continue;
            for (unsigned i = 0; i < test::rounds(6); ++i)
                for (const unsigned level : levels) {
                    compare(any_case(from, to, random),
                            trv::on_machine(trv::levels[level], test::any_machine(random)), random);
                    ASSERT_FALSE(HasFatalFailure());
                }
        }
}

}  // namespace
