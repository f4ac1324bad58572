#include "tool/commands/conversion.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>
#include <utility>

#include "tool/checksums/crc32c.h"
#include "tool/cli/catalogue.h"
#include "tool/cli/error.h"
#include "tool/cli/text.h"
#include "tool/files/input.h"
#include "tool/files/picture_write.h"
#include "tool/picture/deepen.h"

namespace trv::tool {
namespace {

constexpr uint32_t dim = 8;  // a picture is dim when it stays below this part of full range

void check_method(const Conversion& c, const Format& from, const Format& to) {
    const std::string wanted = method_name(c.how.method);
    const std::vector<std::string> methods = methods_between(from, to, c.how.phase);
    if (std::find(methods.begin(), methods.end(), wanted) != methods.end()) return;
    const std::string what = text("method ", wanted, " does not exist from ", from.name, " to ",
                                  to.name, " in phase ", phase_name(c.how.phase));
    const std::string why =
        methods.empty() ? "no method does" : text("what exists there is ", list(methods));
    throw Failure(Exit::no_route, what, why, "choose another method with -m or target with -t");
}

void check_mosaic(const Conversion& c) {
    if (c.source.width < 2 || c.source.height < 2)
        throw Failure(Exit::usage, "a mosaic has at least 2x2 pixels",
                      "one block of it holds one red, one blue and two green pixels", "check -s");
}

// The first picture on the way whose samples can be told apart: gains apply to it, at the depth it
// has. Unpacking does not lose any.
std::optional<size_t> tuned_step(const Conversion& c) {
    for (size_t i = 0; i < c.path.size(); ++i)
        if (sample_layout(*c.path[i], c.how.phase)) return i;
    return std::nullopt;
}

void check_tuning(const Conversion& c) {
    const Format& source = *c.source.format;
    if (c.tuning.white != Tuning::White::off && source.family == Family::grey)
        throw Failure(Exit::usage, text("no white balance for ", source.name), "it is grey",
                      "leave --wb out, or give the format of the mosaic with -f, or its --phase");
    if (!tuned_step(c))
        throw Failure(Exit::usage, text("cannot balance or stretch ", c.path.back()->name),
                      "neither its samples nor those of the source are whole bytes or words",
                      "choose another target with -t");
}

uint32_t bits_for(uint32_t level) {
    return static_cast<uint32_t>(std::bit_width(level));
}

std::string maybe_meant(const Format& format, uint32_t level) {
    const Format* other = with_bits(format, bits_for(level));
    if (other == nullptr || other->significant == format.significant) return "";
    return text(" (is it ", other->name, "?)");
}

void note_levels(const Format& format, const SampleLayout& layout, const Histogram& histogram,
                 bool may_be_dark, const std::string& input) {
    const uint32_t top = brightest(histogram);
    if (const uint64_t above = count_above(histogram, layout.full()); above != 0)
        note(text(input, ": ", above, " samples exceed the ", layout.bits, " bits of ", format.name,
                  ", up to ", top, maybe_meant(format, top)));
    else if (top < layout.full() / dim && !may_be_dark)
        note(text(input, ": the picture will be dark, its brightest sample is ", top, " of ",
                  layout.full(), maybe_meant(format, top), "; --scale auto stretches it"));
}

// Notes and measures what there is to note and to measure.
void look_at(const Conversion& c, const Frame& frame, const std::string& input, Settled* settled) {
    const Format& format = *frame.geometry().format;
    const bool of_dump = format.code == c.source.format->code;
    if (!of_dump && !c.tuning.needed()) return;
    const SampleLayout layout = *sample_layout(format, c.how.phase);
    const Histogram histogram = take_histogram(frame, layout);
    if (of_dump) note_levels(format, layout, histogram, c.tuning.stretch, input);
    if (c.tuning.needed()) settled->gains = choose_gains(c.tuning, histogram, layout);
}

void tune(const Conversion& c, const Frame& frame, const std::string& input, Settled* settled) {
    if (!settled->done) look_at(c, frame, input, settled);
    if (settled->gains)
        apply_gains(*settled->gains, frame, *sample_layout(*frame.geometry().format, c.how.phase));
}

// Whether nobody is surprised by a picture whose samples stay far below full range.
bool may_be_dark(const Conversion& c) {
    return c.tuning.stretch || c.kind == Kind::dng ||
           (c.developer != nullptr && c.developer->has_white());
}

// What look_at() notes, of samples that nobody keeps.
void note_packed_levels(const Conversion& c, const Frame& bytes, const std::string& input) {
    constexpr uint32_t strip = 64;  // lines; even, so that strips of a mosaic have its phase
    const Format& format = *c.source.format;
    const auto layout = sample_layout(format, c.how.phase);
    if (!layout) return;
    Histogram histogram;
    for (uint32_t y = 0; y < c.source.height; y += strip)
        add_to(&histogram, unpack_lines(bytes, c.source, y, std::min(strip, c.source.height - y)),
               *layout);
    note_levels(format, *layout, histogram, may_be_dark(c), input);
}

// What there is to note of the samples of a dump that is not looked at any further.
void note_dump_levels(const Conversion& c, const Frame& dump, const std::string& input) {
    if (c.source.packing != 0) return note_packed_levels(c, dump, input);
    const auto layout = sample_layout(*c.source.format, c.how.phase);
    if (layout)
        note_levels(*c.source.format, *layout, take_histogram(dump, *layout), may_be_dark(c),
                    input);
}

constexpr uint64_t group_room = 6;  // unpacking writes whole groups: up to three words too many

// Lines with room for so many bytes after them.
Geometry roomy(const Format& format, const Geometry& like, uint64_t room) {
    constexpr uint64_t step = 64;
    Geometry g = tight(format, like.width, like.height);
    g.stride = static_cast<uint32_t>((g.line() + room + step - 1) / step * step);
    return g;
}

// A demosaic of odd width looks at one sample after each line. What lies there in a dump is the
// next line; the picture wants a sample of that colour, and the nearest one is two back.
Frame with_sample_behind(const Frame& mosaic) {
    const Geometry& g = mosaic.geometry();
    const size_t sample = g.format->stored / 8, behind = sample * g.width;
    Frame result(roomy(*g.format, g, sample));
    for (uint32_t y = 0; y < g.height; ++y) {
        std::memcpy(result.line(y), mosaic.line(y), g.line());
        std::memcpy(result.line(y) + behind, mosaic.line(y) + behind - 2 * sample, sample);
    }
    return result;
}

// The line of an explanation that begins with the word, without it; empty when there is none.
std::string line_of(const std::string& explanation, const std::string& word) {
    const size_t start = ("\n" + explanation).find("\n" + word);
    if (start == std::string::npos) return "";
    const size_t rest = start + word.size();
    return explanation.substr(rest, explanation.find('\n', rest) - rest);
}

Failure refusal(const Frame& from, const Frame& to) {
    char explanation[TRW_EXPLAIN_BYTES];
    TRW_Explain(from.handle(), 0, to.handle(), explanation, sizeof explanation);
    return {
        Exit::conversion,
        text("cannot convert ", from.geometry().format->name, " to ", to.geometry().format->name,
             ": ", text("status ", line_of(explanation, "status "))),
        line_of(explanation, "why: "), line_of(explanation, "next: ")};
}

bool demosaics(const Format& from, const Format& to) {
    return from.family == Family::bayer && to.family != Family::bayer;
}

// Whether unpacking and the first step of the path are one call. The picture between them is needed
// to tune it, and where a demosaic is to look at another sample after each line.
bool unpacks_in_passing(const Conversion& c) {
    if (c.source.packing == 0 || c.path.size() < 2) return false;
    if (c.tuning.needed() && tuned_step(c) == 0) return false;
    return !demosaics(*c.path[0], *c.path[1]) || c.source.width % 2 == 0;
}

// How many steps from `step` on are one call, under the same conditions.
size_t steps_in_passing(const Conversion& c, size_t step) {
    const bool is_one = passes_over(c.path, step) && !c.tuning.needed() && c.source.width % 2 == 0;
    return is_one ? 2 : 1;
}

using Room = std::optional<Frame>;  // memory that a picture may take

Frame convert_packed(const Conversion& c, const Frame& bytes, const Format& to, Room room,
                     TRW_Pool* pool) {
    const Geometry& g = c.source;
    const trvil::Buffer source = packed_lines(bytes, g, 0, g.height);
    const bool mosaic = g.format->family == Family::bayer;
    const TRW_Settings settings{sizeof settings, whole_code(*g.format), mosaic ? c.how.method : 0,
                                mosaic ? phase_parameter(c.how.phase) : 0};
    Frame result = in_memory_of(std::move(room), tight(to, g.width, g.height));
    const uint32_t status =
        TRW_Convert(source.handle(), g.packing, result.handle(), &settings, pool);
    if (status == TRV_STATUS_MEMORY) throw std::bad_alloc();
    if (status != TRV_STATUS_OK)
        throw Failure(Exit::conversion, text("cannot convert ", g.name(), " to ", to.name),
                      text("the library answered status ", status), "");
    return result;
}

Frame convert_step(const Demosaic& how, const Frame& from, const Format& to, Room room,
                   TRW_Pool* pool) {
    const Geometry& g = from.geometry();
    const bool writes_groups = is_packed(*g.format) && to.family == g.format->family;
    Frame result = in_memory_of(
        std::move(room), writes_groups ? roomy(to, g, group_room) : tight(to, g.width, g.height));
    std::optional<Frame> widened;
    if (demosaics(*g.format, to) && g.width % 2 != 0) widened = with_sample_behind(from);
    const Frame& source = widened ? *widened : from;
    source.set_bayer(how.method, how.phase);
    const bool mosaic = g.format->family == Family::bayer;
    const TRW_Settings settings{sizeof settings, 0, mosaic ? how.method : 0,
                                mosaic ? phase_parameter(how.phase) : 0};
    const uint32_t status = TRW_Convert(source.handle(), 0, result.handle(), &settings, pool);
    if (status == TRV_STATUS_MEMORY) throw std::bad_alloc();
    if (status != TRV_STATUS_OK) throw refusal(source, result);
    return result;
}

// Whether a step only changes the order of bytes of a pixel, and may do so in place.
bool swaps(const Format& from, const Format& to) {
    return from.code == Code::BGR24 && to.code == Code::RGB24;
}

Frame swapped(Frame frame, const Format& to) {
    const trvil::Buffer after = frame.view_as(to);
    if (TRW_Convert(frame.handle(), 0, after.handle(), nullptr, nullptr) != TRV_STATUS_OK)
        throw refusal(frame, frame);
    return std::move(frame).as(to);
}

// A dump through all steps of its path. The last picture takes the room, or the dump itself where
// there is no step.
Frame walk(const Conversion& c, Frame* dump, const std::string& name, Settled* settled,
           TRW_Pool* pool, Room room) {
    const std::optional<size_t> tuned = tuned_step(c);
    const size_t last = c.path.size() - 1;
    // Of two steps in one place the first one takes the room.
    const size_t takes_room = last > 0 && swaps(*c.path[last - 1], *c.path[last]) ? last - 1 : last;
    const auto room_of = [&](size_t step) {
        return step == takes_room ? std::exchange(room, std::nullopt) : std::nullopt;
    };
    size_t step = 0;  // that the picture has reached
    std::optional<Frame> made;
    if (unpacks_in_passing(c)) {
        if (!settled->done) note_packed_levels(c, *dump, name);
        made = convert_packed(c, *dump, *c.path[1], room_of(1), pool);
        step = 1;
    } else if (c.source.packing != 0) {
        made = convert_packed(c, *dump, *c.path[0], room_of(0), pool);
    }
    for (size_t next = step;; step = next) {
        const Frame& reached = made ? *made : *dump;
        if (step == tuned) tune(c, reached, name, settled);
        if (step == last) break;
        next = step + steps_in_passing(c, step);
        if (made && swaps(*c.path[step], *c.path[next]))
            made = swapped(std::move(*made), *c.path[next]);
        else
            made = convert_step(c.how, reached, *c.path[next], room_of(next), pool);
    }
    if (!made) made = std::exchange(*dump, in_memory_of(std::move(room), dump->geometry()));
    return c.deepen ? deepened(*made) : std::move(*made);
}

void develop(const Conversion& c, const Frame& dump, const std::string& name, Settled* settled,
             TRW_Pool* pool, std::optional<Frame>* picture) {
    if (!settled->done) {
        note_dump_levels(c, dump, name);
        settled->recipe = c.developer->recipe_for(dump, pool);
    }
    *picture =
        in_memory_of(std::move(*picture), tight(*c.path.back(), c.source.width, c.source.height));
    c.developer->develop(dump, settled->recipe.get(), **picture, pool);
}

}  // namespace

void check_conversion(const Conversion& c, bool is_developed) {
    if (c.source.format->family == Family::bayer) check_mosaic(c);
    for (size_t i = 1; i < c.path.size() && !is_developed; ++i)
        if (demosaics(*c.path[i - 1], *c.path[i])) check_method(c, *c.path[i - 1], *c.path[i]);
    if (c.tuning.needed()) check_tuning(c);
}

Frame convert(Frame frame, const Path& path, const Demosaic& how, TRW_Pool* pool) {
    for (size_t i = 1; i < path.size(); ++i)
        frame = convert_step(how, frame, *path[i], std::nullopt, pool);
    return frame;
}

Gains gains_of(const Conversion& c, const std::string& input, TRW_Pool* pool) {
    return c.developer->gains(read_bytes(input, c.source, c.skip), pool);
}

void make_picture(const Conversion& c, Frame* dump, const std::string& name, Settled* settled,
                  TRW_Pool* pool, std::optional<Frame>* picture) {
    if (c.developer != nullptr)
        develop(c, *dump, name, settled, pool, picture);
    else
        *picture = without_padding(walk(c, dump, name, settled, pool, std::move(*picture)));
    if (!settled->done) settled->done = true;  // later ones only read it
}

void make_mosaic(const Conversion& c, Frame* dump, const std::string& name, Settled* settled,
                 TRW_Pool* pool, std::optional<Frame>* picture) {
    if (!settled->done) {
        note_dump_levels(c, *dump, name);
        settled->colours = c.developer->colours(*dump, pool);
        settled->done = true;
    }
    Frame mosaic = c.source.packing != 0
                       ? unpack(*dump, c.source)
                       : std::exchange(*dump, in_memory_of(std::exchange(*picture, std::nullopt),
                                                           dump->geometry()));
    *picture = without_padding(convert(std::move(mosaic), c.path, c.how, pool));
}

void run_conversion(const Conversion& c, const std::string& input, const std::string& output,
                    Progress* progress, TRW_Pool* pool, uint32_t* dump_sum) {
    Frame frame = read_bytes(input, c.source, c.skip);
    if (dump_sum != nullptr) *dump_sum = crc32c(frame.line(0), c.source.bytes());
    Settled settled;
    std::optional<Frame> picture;
    if (c.kind == Kind::dng) {
        make_mosaic(c, &frame, input, &settled, pool, &picture);
        return put_dng(std::move(*picture), *settled.colours, output, c.force);
    }
    make_picture(c, &frame, input, &settled, pool, &picture);
    put_picture(std::move(*picture), c.kind, output, c.force, progress);
}

}  // namespace trv::tool
