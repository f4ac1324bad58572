#include "tool/commands/picture_options.h"

#include "tool/cli/catalogue.h"
#include "tool/cli/error.h"
#include "tool/cli/geometry.h"
#include "tool/cli/report.h"
#include "tool/cli/text.h"
#include "tool/picture/deepen.h"

namespace trv::tool {
namespace {

void refuse_bayer_option(const char* option, const Geometry& source) {
    const char* hint = source.packing == 0 ? "" : " (12Packed is a mosaic with --phase)";
    throw Failure(Exit::usage, text(option, " makes no sense with ", source.name()),
                  "it is not a mosaic", text("leave ", option, " out, or check -f", hint));
}

Phase choose_phase(const PictureOptions& o, const Geometry& source) {
    const Format& format = *source.format;
    if (!o.phase.empty() && format.family != Family::bayer) refuse_bayer_option("--phase", source);
    if (!o.phase.empty()) return phase_named(o.phase);
    return format.phase == Phase::none ? Phase::A : format.phase;
}

uint32_t choose_method(const std::string& said, const Geometry& source) {
    const bool mosaic = source.format->family == Family::bayer;
    if (!said.empty() && !mosaic) refuse_bayer_option("-m", source);
    return said.empty() ? default_method : method_named(said);
}

void note_packing(const PictureOptions& o, const Geometry& source) {
    const bool open = o.phase.empty() && pixels_named(o.reading.format).mosaic != nullptr;
    note(text("unpacking ", source.name(), open ? "; with --phase a mosaic" : ""));
}

void note_path(const Path& path) {
    const char* what = lossy(*path.front(), *path.back());
    if (path.size() == 2 && what != nullptr)
        note(text(path_text(path), " ", what, "; without --via never a better way is taken"));
    if (path.size() <= 2) return;
    note(text("going ", path_text(path),
              what == nullptr ? "" : text(" (the direct route ", what, ")")));
}

bool is_mosaic(const Geometry& source) {
    return source.format->family == Family::bayer;
}

Failure no_depth(const std::string& of, const std::string& why, const std::string& next) {
    return {Exit::usage, text("no 16 bits of ", of), why, next};
}

// Whether results have 16 bits: where that is said, and where a mosaic becomes a picture of words.
bool is_deep(const PictureOptions& o, const Geometry& source, const Format* target, Kind kind) {
    const bool of_words = target != nullptr && target->significant == 16;
    if (o.depth == 16 && (kind == Kind::pgm || kind == Kind::gray16le) && is_mosaic(source))
        throw no_depth(text("a mosaic in a .", kind_name(kind)),
                       "it holds grey, and a mosaic becomes colour", "write a .png, .tif or .ppm");
    if (o.depth == 16 && target != nullptr && !of_words)
        throw no_depth(target->name, text("it has ", int{target->significant}),
                       "leave -t out, or --depth");
    return o.depth == 16 || (of_words && kind != Kind::raw && is_mosaic(source));
}

// What the command line or the kind of file says; null where both leave it open.
const Format* target_of(const PictureOptions& o, Kind kind) {
    if (o.target.empty()) return video_format(kind);
    return &format_named(o.target);
}

// What is converted without being developed; null where the user leaves it open.
const Format* shallow_target(const PictureOptions& o, const Geometry& source, const Format* target,
                             Kind kind) {
    const Format& format = *source.format;
    if (target != nullptr || o.depth != 8 || format.significant <= 8) return target;
    const Format& shallow = format_of(format.family == Family::grey ? Code::Mono8 : Code::BGR24);
    return holds(kind, shallow) ? &shallow : nullptr;
}

const Format& developed_target(const Geometry& source, const Format* target, Kind kind, bool deep) {
    if (target != nullptr && !holds(kind, *target))
        plan(*source.format, target, kind, {}, Via::automatic);  // says what is wrong
    if (target != nullptr) return *target;
    const bool grey = source.format->family == Family::grey;
    const bool keeps = deep || (grey && source.format->significant == 16 && kind != Kind::y4m);
    const Format& suited = developed_format(*source.format, keeps);
    if (holds(kind, suited)) return suited;
    const Format& other = format_of(kind == Kind::y4m ? Code::BGRX32 : Code::BGR24);
    if (!deep && (grey || kind == Kind::y4m) && holds(kind, other)) return other;
    throw Failure(Exit::no_route, text("no .", kind_name(kind), " of ", source.name()),
                  text("it is developed to ", suited.name, ", which such a file cannot hold"),
                  "write a .png or a .tif");
}

void note_left_out(const SettingTexts& said, const Kind kind) {
    std::vector<std::string> left;
    for (const auto& [text, name] :
         {std::pair{&said.dark, "the dark picture"}, std::pair{&said.flat, "the flat field"},
          std::pair{&said.defects, "defects"}, std::pair{&said.curve, "the curve"}})
        if (!text->empty()) left.emplace_back(name);
    if (kind == Kind::dng && !left.empty())
        note(text("a DNG holds samples as they are, without ", list(left)));
}

void resolve_dng(const PictureOptions& o, const SettingTexts& said, Conversion* c) {
    if (o.depth != 0)
        throw Failure(Exit::usage, "--depth makes no sense with a .dng",
                      "it holds samples as they are", "leave --depth out");
    const Format* target = o.target.empty() ? nullptr : &format_named(o.target);
    c->path = plan(*c->source.format, target, Kind::dng, c->how, Via::automatic);
    note_left_out(said, Kind::dng);
}

}  // namespace

Recording recording_of(const PictureOptions& o, const Geometry& source) {
    return o.recording(o.inputs, source, o.reading.skip);
}

Conversion conversion_of(const PictureOptions& o, const SettingTexts& said, Kind kind, bool force) {
    const Geometry source = o.reading.geometry(!o.phase.empty());
    const Format& format = *source.format;
    const Format* target = target_of(o, kind);
    const Demosaic how{choose_method(said.method, source), choose_phase(o, source)};
    const Development settings = understand(said);
    const Tuning tuning = tuning_named(said.balance.empty() ? "off" : said.balance, o.scale);
    const uint64_t skip = o.reading.skip + o.frame_skip;
    Conversion c{source, skip, how, {}, kind, tuning, force};
    const bool deep = kind != Kind::dng && is_deep(o, source, target, kind);
    const bool special = settings.needed || tuning.white == Tuning::White::point;
    const bool developed = kind != Kind::dng && is_developed(format) && (deep || special);
    if (kind == Kind::dng) {
        resolve_dng(o, said, &c);
    } else if (developed) {
        c.path = {&format, &developed_target(source, target, kind, deep)};
    } else if (special) {
        throw Failure(Exit::usage, text("cannot develop ", source.name()),
                      "it is neither a mosaic nor grey", "leave the options of developing out");
    } else if (deep) {
        if (!can_be_deepened(format) || !holds(kind, format_of(Code::RGB48)) ||
            (target != nullptr && target->code != Code::RGB48))
            throw no_depth(source.name(), "colour in bytes or words of their own becomes RGB48",
                           "leave --depth out, or -t, or write a .png");
        c.path = {&format};
        c.deepen = true;
    } else {
        c.path = plan(format, shallow_target(o, source, target, kind), kind, how,
                      o.via == "never" ? Via::never : Via::automatic);
    }
    check_conversion(c, developed);
    if (kind == Kind::dng || developed)
        c.developer = std::make_shared<Developer>(settings, tuning, source, c.skip, how);
    return c;
}

void note_way(const PictureOptions& o, const Conversion& conversion) {
    if (conversion.source.packing != 0) note_packing(o, conversion.source);
    if (conversion.developer == nullptr && !is_video(conversion.kind)) note_path(conversion.path);
}

void add_recording(CLI::App* command, PictureOptions* o) {
    add_reading(command, &o->reading);
    command
        ->add_option("--phase", o->phase,
                     "Mosaic: A RGGB, B GRBG, C GBRG, D BGGR [what the format says, else A]")
        ->type_name("PHASE")
        ->group(reading_group);
    add_frame_options(command, o);
    command->add_option("inputs", o->inputs, "Dumps; - is stdin")
        ->required()
        ->type_name("FILE")
        ->group(reading_group);
}

void add_making(CLI::App* command, PictureOptions* o) {
    command
        ->add_option("-m,--method", o->developing.said.method,
                     text("Missing colours: dup nearest, ave mean, med median, gradient [",
                          method_name(default_method), "]"))
        ->type_name("METHOD")
        ->group(making_group);
    command
        ->add_option("--scale", o->scale,
                     "none, or auto: the brightest 0.1 % reach full range [none]")
        ->check(CLI::IsMember({"none", "auto"}))
        ->group(making_group);
    command
        ->add_option(
            "--wb", o->developing.said.balance,
            "White balance: off, grey (colours average to grey), point:X,Y (it is grey), or "
            "R,G,B gains [off]")
        ->type_name("GAINS")
        ->group(making_group);
}

void add_result(CLI::App* command, PictureOptions* o) {
    command->add_option("-t,--to", o->target, "Format of the result [what suits the file]")
        ->type_name("FORMAT")
        ->group(making_group);
    command
        ->add_option("--via", o->via,
                     "auto: over several steps where there is no direct way; never [auto]")
        ->check(CLI::IsMember({"auto", "never"}))
        ->group(making_group);
    command
        ->add_option(
            "--depth", o->depth,
            "Bits of a sample: 8, or 16 with white at 65535 [8; 16 where grey or colour has "
            "them]")
        ->check(CLI::IsMember({8, 16}))
        ->group(making_group);
}

}  // namespace trv::tool
