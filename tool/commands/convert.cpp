#include <algorithm>
#include <atomic>
#include <cmath>
#include <memory>
#include <system_error>
#include <thread>

#include "tool/cli/catalogue.h"
#include "tool/cli/error.h"
#include "tool/cli/geometry.h"
#include "tool/cli/reading.h"
#include "tool/cli/text.h"
#include "tool/commands/command.h"
#include "tool/commands/conversion.h"
#include "tool/commands/threads.h"
#include "tool/develop/options.h"
#include "tool/files/naming.h"
#include "tool/files/output.h"
#include "tool/files/same_file.h"
#include "tool/picture/deepen.h"

namespace trv::tool {
namespace {

constexpr const char* footer =
    R"(A dump tells nothing about itself: -s and -f say how to read it. Samples of 10 to 16 bits are
brought down to 8 by the depth that the format names; if the picture is dark, the camera used less
than that, and --scale auto stretches it. A mosaic without white balance looks greenish; --wb grey
suits most scenes. Wrong colours or a fine check pattern mean another --phase.

Pictures come out as 8-bit RGB, or as 8- or 16-bit grey where the source is grey; with --depth 16 they
have 16 bits. What is known of the sensor is taken into account: see `trvil help develop`.)";

struct Options {
    Reading reading;
    DevelopOptions developing;
    std::string phase, target, as, output;
    std::string scale = "none", via = "auto";
    uint32_t depth = 0;  // 0: what suits the source
    bool force = false;
    uint32_t jobs = 1, threads = 0;
    std::vector<std::string> inputs;
};

void refuse_bayer_option(const char* option, const Geometry& source) {
    const char* hint = source.packing == 0 ? "" : " (12Packed is a mosaic with --phase)";
    throw Failure(Exit::usage, text(option, " makes no sense with ", source.name()),
                  "it is not a mosaic", text("leave ", option, " out, or check -f", hint));
}

Phase choose_phase(const Options& o, const Geometry& source) {
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

void say_packing(const Options& o, const Geometry& source) {
    const bool open = o.phase.empty() && pixels_named(o.reading.format).mosaic != nullptr;
    note(text("unpacking ", source.name(), open ? "; with --phase a mosaic" : ""));
}

void say_way(const Path& path) {
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
bool is_deep(const Options& o, const Geometry& source, const Format* target, Kind kind) {
    const bool of_words = target != nullptr && target->significant == 16;
    if (o.depth == 16 && kind == Kind::pgm && is_mosaic(source))
        throw no_depth("a mosaic in a .pgm", "it holds grey, and a mosaic becomes colour",
                       "write a .png, .tif or .ppm");
    if (o.depth == 16 && target != nullptr && !of_words)
        throw no_depth(target->name, text("it has ", int{target->significant}),
                       "leave -t out, or --depth");
    return o.depth == 16 || (of_words && kind != Kind::raw && is_mosaic(source));
}

// What is converted without being developed; null where the user leaves it open.
const Format* shallow_target(const Options& o, const Geometry& source, const Format* target,
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
    const bool keeps =
        deep || (source.format->family == Family::grey && source.format->significant == 16);
    const Format& suited = developed_format(*source.format, keeps);
    if (holds(kind, suited)) return suited;
    const Format& other = format_of(Code::BGR24);
    if (!deep && source.format->family == Family::grey && holds(kind, other)) return other;
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

void resolve_dng(const Options& o, const SettingTexts& said, Conversion* c) {
    if (o.depth != 0)
        throw Failure(Exit::usage, "--depth makes no sense with a .dng",
                      "it holds samples as they are", "leave --depth out");
    const Format* target = o.target.empty() ? nullptr : &format_named(o.target);
    c->path = plan(*c->source.format, target, Kind::dng, c->how, Via::automatic);
    note_left_out(said, Kind::dng);
}

Conversion resolve(const Options& o, const SettingTexts& said) {
    const Geometry source = o.reading.geometry(!o.phase.empty());
    const Format& format = *source.format;
    const Format* target = o.target.empty() ? nullptr : &format_named(o.target);
    const Kind kind = kind_of_output(o.output, o.as);
    const Demosaic how{choose_method(said.method, source), choose_phase(o, source)};
    const Development settings = understand(said);
    const Tuning tuning = tuning_named(said.balance.empty() ? "off" : said.balance, o.scale);
    Conversion c{source, o.reading.skip, how, {}, kind, tuning, o.force};
    const bool deep = kind != Kind::dng && is_deep(o, source, target, kind);
    const bool special = settings.needed || tuning.white == Tuning::White::point;
    if (kind == Kind::dng) {
        resolve_dng(o, said, &c);
    } else if (is_developed(format) && (deep || special)) {
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
    check_conversion(c);
    if (kind == Kind::dng || (is_developed(format) && (deep || special)))
        c.developer = std::make_shared<Developer>(settings, tuning, source, c.skip, how);
    return c;
}

Failure summary(const std::vector<std::string>& failed, size_t all, Exit code) {
    constexpr size_t most_named = 10;
    std::vector<std::string> named = failed;
    if (named.size() > most_named) named.resize(most_named);
    const std::string rest =
        failed.size() > most_named ? text(" and ", failed.size() - most_named, " more") : "";
    return {code, text(failed.size(), " of ", all, " inputs failed"),
            text("they are ", list(named), rest),
            "the others are converted; see above for the reasons"};
}

// One bad dump of many does not keep the others from being converted.
class Batch {
  public:
    Batch(const Conversion& conversion, const std::vector<std::string>& inputs,
          const std::vector<std::string>& outputs)
        : conversion_(conversion),
          inputs_(inputs),
          outputs_(outputs),
          failures_(inputs.size()),
          progress_(inputs.size()) {}

    void run(uint32_t jobs, TRW_Pool* pool) {
        std::vector<std::thread> others;
        try {
            for (uint32_t i = 1; i < jobs; ++i) others.emplace_back([this, pool] { work(pool); });
        } catch (const std::system_error&) {
            // Where the machine has no room for another thread, those there are do the work.
        }
        work(pool);
        for (std::thread& thread : others) thread.join();
        finish();
    }

  private:
    void work(TRW_Pool* pool) {
        for (size_t i = next_++; i < inputs_.size(); i = next_++) {
            progress_.start(inputs_[i]);
            try {
                run_conversion(conversion_, inputs_[i], outputs_[i], &progress_, pool);
            } catch (const Failure& failure) {
                fail(i, failure);
            } catch (const std::exception& error) {
                fail(i, {Exit::conversion, text("cannot convert ", inputs_[i]), error.what(),
                         "check -s, or use fewer --jobs"});
            }
        }
    }

    void fail(size_t i, const Failure& failure) {
        failures_[i] = failure;
        if (inputs_.size() > 1) report(failure);
    }

    void finish() const {
        std::vector<std::string> failed;
        const Failure* first = nullptr;
        for (size_t i = 0; i < inputs_.size(); ++i) {
            if (!failures_[i]) continue;
            failed.push_back(inputs_[i]);
            if (first == nullptr) first = &*failures_[i];
        }
        if (first == nullptr) return;
        if (inputs_.size() == 1) throw Failure(*first);
        throw summary(failed, inputs_.size(), first->code());
    }

    const Conversion& conversion_;
    const std::vector<std::string>&inputs_, &outputs_;
    std::vector<std::optional<Failure>> failures_;
    std::atomic<size_t> next_ = 0;
    Progress progress_;
};

uint32_t jobs_of(const Options& o) {
    const size_t wanted = o.jobs != 0 ? o.jobs : processors();
    return static_cast<uint32_t>(std::min(wanted, o.inputs.size()));
}

void check_all_files(const Options& o, const SettingTexts& said,
                     const std::vector<std::string>& outputs) {
    std::vector<std::string> read = o.inputs, written = outputs;
    for (const std::string& file : o.developing.inputs(said)) read.push_back(file);
    for (const std::string& file : as_list(o.developing.save)) written.push_back(file);
    check_files(read, written, o.force);
}

// A point is one of this dump; what it says of the light holds for others too.
SettingTexts lasting(SettingTexts said, const Conversion& conversion, const std::string& input,
                     TRW_Pool* pool) {
    if (conversion.tuning.white != Tuning::White::point) return said;
    std::vector<double> gains;
    for (const double gain : gains_of(conversion, input, pool))
        gains.push_back(std::round(gain * 10000) / 10000);
    said.balance = numbers_text(gains);
    return said;
}

void check_saving(const Options& o) {
    const bool reread = o.developing.said.balance.rfind("point", 0) == 0;
    if (o.developing.save.empty() || !reread || (o.inputs.size() == 1 && o.inputs[0] != "-"))
        return;
    throw Failure(Exit::usage, "--save-settings with a point takes one dump, which is a file",
                  "the gains that are saved are those of that dump",
                  "convert it alone, and the others with --settings");
}

void convert_all(Options o) {
    check_saving(o);
    o.output = output_template(o.output, o.as);
    const SettingTexts said = o.developing.all();
    const std::vector<std::string> outputs = name_outputs(o.inputs, o.output);
    check_all_files(o, said, outputs);
    const Conversion conversion = resolve(o, said);
    if (conversion.source.packing != 0) say_packing(o, conversion.source);
    if (conversion.developer == nullptr) say_way(conversion.path);
    const uint32_t jobs = jobs_of(o);
    const Helpers helpers(o.threads, jobs);
    Batch(conversion, o.inputs, outputs).run(jobs, helpers.pool());
    if (!o.developing.save.empty())
        save_settings(lasting(said, conversion, o.inputs.front(), helpers.pool()),
                      o.developing.save, o.force);
}

void add_inputs(CLI::App* command, Options* o) {
    command
        ->add_option("--phase", o->phase,
                     "Mosaic: A RGGB, B GRBG, C GBRG, D BGGR [what the format says, else A]")
        ->type_name("PHASE")
        ->group(reading_group);
    command->add_option("inputs", o->inputs, "Dumps; - is stdin")
        ->required()
        ->type_name("FILE")
        ->group(reading_group);
}

void add_making(CLI::App* command, Options* o) {
    const char* group = "How to make the picture";
    command
        ->add_option("-m,--method", o->developing.said.method,
                     text("Missing colours: dup nearest, ave mean, med median, gradient [",
                          method_name(default_method), "]"))
        ->type_name("METHOD")
        ->group(group);
    command->add_option("-t,--to", o->target, "Format of the result [what suits the file]")
        ->type_name("FORMAT")
        ->group(group);
    command
        ->add_option("--via", o->via,
                     "auto: over several steps where there is no direct way; never [auto]")
        ->check(CLI::IsMember({"auto", "never"}))
        ->group(group);
    command
        ->add_option("--scale", o->scale,
                     "none, or auto: the brightest 0.1 % reach full range [none]")
        ->check(CLI::IsMember({"none", "auto"}))
        ->group(group);
    command
        ->add_option(
            "--wb", o->developing.said.balance,
            "White balance: off, grey (colours average to grey), point:X,Y (it is grey), or "
            "R,G,B gains [off]")
        ->type_name("GAINS")
        ->group(group);
    command
        ->add_option(
            "--depth", o->depth,
            "Bits of a sample: 8, or 16 with white at 65535 [8; 16 where grey or colour has "
            "them]")
        ->check(CLI::IsMember({8, 16}))
        ->group(group);
}

void add_writing(CLI::App* command, Options* o) {
    const char* group = "Where to put it";
    command
        ->add_option(
            "-o,--output", o->output,
            "FILE.png, .tif, .ppm, .pgm, .dng or .raw, or a folder; {name} is the input's; - is "
            "stdout")
        ->type_name("FILE")
        ->required()
        ->group(group);
    command->add_option("--as", o->as, "Kind of file, whatever its name says")
        ->type_name("KIND")
        ->group(group);
    command->add_flag("--force", o->force, "Replace existing files")->group(group);
    command->add_option("--jobs", o->jobs, "Convert so many at a time; 0: one per processor [1]")
        ->check(CLI::Range(0, 256))
        ->type_name("N")
        ->group(group);
    add_threads(command, &o->threads, group);
}

}  // namespace

void add_convert(CLI::App* app) {
    CLI::App* command = app->add_subcommand("convert", "Convert raw dumps to pictures");
    const auto options = std::make_shared<Options>();
    add_reading(command, &options->reading);
    add_inputs(command, options.get());
    add_making(command, options.get());
    add_sensor_options(command, &options->developing);
    add_look_options(command, &options->developing);
    add_writing(command, options.get());
    command->footer(footer);
    command->callback([options] { convert_all(*options); });
}

}  // namespace trv::tool
