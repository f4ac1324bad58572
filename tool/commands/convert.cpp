#include <algorithm>
#include <atomic>
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
#include "tool/files/naming.h"
#include "tool/files/same_file.h"

namespace trv::tool {
namespace {

constexpr const char* footer =
    R"(A dump tells nothing about itself: -s and -f say how to read it. Samples of 10 to 16 bits are
brought down to 8 by the depth that the format names; if the picture is dark, the camera used less
than that, and --scale auto stretches it. A mosaic without white balance looks greenish; --wb grey
suits most scenes. Wrong colours or a fine check pattern mean another --phase.

Pictures come out as 8-bit RGB, or as 8- or 16-bit grey where the source is grey.)";

struct Options {
    Reading reading;
    std::string phase, method, target, as, output;
    std::string scale = "none", white = "off", via = "auto";
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

uint32_t choose_method(const Options& o, const Geometry& source) {
    const bool mosaic = source.format->family == Family::bayer;
    if (!o.method.empty() && !mosaic) refuse_bayer_option("-m", source);
    return o.method.empty() ? default_method : method_named(o.method);
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

Conversion resolve(const Options& o) {
    const Geometry source = o.reading.geometry(!o.phase.empty());
    const Format& format = *source.format;
    const Format* target = o.target.empty() ? nullptr : &format_named(o.target);
    const Kind kind = kind_of_output(o.output, o.as);
    const Demosaic how{choose_method(o, source), choose_phase(o, source)};
    const Via via = o.via == "never" ? Via::never : Via::automatic;
    Conversion c{source, o.reading.skip,
                 how,    plan(format, target, kind, how, via),
                 kind,   tuning_named(o.white, o.scale),
                 o.force};
    check_conversion(c);
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

void convert_all(Options o) {
    o.output = output_template(o.output, o.as);
    const Conversion conversion = resolve(o);
    const std::vector<std::string> outputs = name_outputs(o.inputs, o.output);
    check_files(o.inputs, outputs, o.force);
    if (conversion.source.packing != 0) say_packing(o, conversion.source);
    say_way(conversion.path);
    const uint32_t jobs = jobs_of(o);
    const Helpers helpers(o.threads, jobs);
    Batch(conversion, o.inputs, outputs).run(jobs, helpers.pool());
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
        ->add_option("-m,--method", o->method,
                     text("Missing colours: dup nearest, ave mean, med median [",
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
        ->add_option("--wb", o->white,
                     "White balance: off, grey (colours average to grey), or R,G,B gains [off]")
        ->type_name("GAINS")
        ->group(group);
}

void add_writing(CLI::App* command, Options* o) {
    const char* group = "Where to put it";
    command
        ->add_option("-o,--output", o->output,
                     "FILE.png, .tif, .ppm, .pgm or .raw, or a folder; {name} is the input's; - is "
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
    add_writing(command, options.get());
    command->footer(footer);
    command->callback([options] { convert_all(*options); });
}

}  // namespace trv::tool
