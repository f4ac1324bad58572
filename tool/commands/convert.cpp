#include <algorithm>
#include <atomic>
#include <cmath>
#include <memory>
#include <system_error>
#include <thread>

#include "tool/checksums/sink.h"
#include "tool/cli/cleanup.h"
#include "tool/cli/error.h"
#include "tool/cli/text.h"
#include "tool/commands/command.h"
#include "tool/commands/conversion.h"
#include "tool/commands/picture_options.h"
#include "tool/commands/stream.h"
#include "tool/commands/threads.h"
#include "tool/files/naming.h"
#include "tool/files/output.h"
#include "tool/files/same_file.h"

namespace trv::tool {
namespace {

constexpr const char* footer =
    R"(A dump tells nothing about itself: -s and -f say how to read it. Samples of 10 to 16 bits are
brought down to 8 by the depth that the format names; if the picture is dark, the camera used less
than that, and --scale auto stretches it. A mosaic without white balance looks greenish; --wb grey
suits most scenes. Wrong colours or a fine check pattern mean another --phase.

Pictures come out as 8-bit RGB, or as 8- or 16-bit grey where the source is grey; with --depth 16 they
have 16 bits. What is known of the sensor is taken into account: see `trvil help develop`.)";

struct Options : PictureOptions {
    std::string as, output, checksums;
    StreamOptions stream;
    bool force = false;
    std::optional<uint32_t> jobs;
    uint32_t threads = 0;
};

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

// What goes to one output: one dump, or a recording.
struct Job {
    Recording recording;
    std::string output;
    bool is_stream;

    const std::string& name() const { return recording.files.front(); }
};

// How streams are made.
struct Streaming {
    FrameRate rate;
    uint32_t makers;
    bool json;
    ChecksumWriter* checksums;  // null where nobody wants them
};

// One bad dump of many does not keep the others from being converted.
class Batch {
  public:
    Batch(const Conversion& conversion, const std::vector<Job>& jobs, const ReadFiles& read,
          const Streaming& streaming)
        : conversion_(conversion),
          jobs_(jobs),
          read_(read),
          streaming_(streaming),
          failures_(jobs.size()),
          progress_(jobs.size()) {}

    // What is to be said when all others are converted.
    std::optional<Failure> run(uint32_t at_a_time, TRW_Pool* pool) {
        std::vector<std::thread> others;
        try {
            for (uint32_t i = 1; i < at_a_time; ++i)
                others.emplace_back([this, pool] { work(pool); });
        } catch (const std::system_error&) {
            // Where the machine has no room for another thread, those there are do the work.
        }
        work(pool);
        for (std::thread& thread : others) thread.join();
        return failure();
    }

  private:
    void work(TRW_Pool* pool) {
        for (size_t i = next_++; i < jobs_.size() && !is_stopped(); i = next_++) {
            try {
                jobs_[i].is_stream ? run_stream_job(i, pool) : run_single(i, pool);
            } catch (const ReaderGone&) {
                end_by_closed_pipe();
            } catch (const Failure& failure) {
                fail(i, failure);
            } catch (const std::exception& error) {
                fail(i, {Exit::conversion, text("cannot convert ", jobs_[i].name()), error.what(),
                         "check -s, or use fewer --jobs"});
            }
            if (streaming_.checksums != nullptr) streaming_.checksums->end(i);
        }
    }

    void run_single(size_t i, TRW_Pool* pool) {
        const Job& job = jobs_[i];
        Conversion conversion = conversion_;
        conversion.skip = job.recording.offset(job.recording.range.first);
        progress_.start(job.name());
        uint32_t sum = 0;
        run_conversion(conversion, job.name(), job.output, &progress_, pool,
                       streaming_.checksums == nullptr ? nullptr : &sum);
        if (streaming_.checksums == nullptr) return;
        const FramePlace place{job.name(), conversion.skip, std::nullopt,
                               conversion.source.bytes()};
        streaming_.checksums->add(
            i, {job.recording.range.first, {place, sum}, sum_of_file(job.output)});
    }

    void run_stream_job(size_t i, TRW_Pool* pool) {
        const Job& job = jobs_[i];
        const Stream stream{
            job.recording,   job.output,        conversion_.kind, conversion_.force,    read_,
            streaming_.rate, streaming_.makers, streaming_.json,  streaming_.checksums, i};
        convert_stream(stream, conversion_, pool);
    }

    void fail(size_t i, const Failure& failure) {
        failures_[i] = failure;
        if (jobs_.size() > 1) report(failure);
    }

    std::optional<Failure> failure() const {
        std::vector<std::string> failed;
        const Failure* first = nullptr;
        for (size_t i = 0; i < jobs_.size(); ++i) {
            if (!failures_[i]) continue;
            failed.push_back(jobs_[i].name());
            if (first == nullptr) first = &*failures_[i];
        }
        if (first == nullptr) return std::nullopt;
        if (jobs_.size() == 1) return *first;
        return summary(failed, jobs_.size(), first->code());
    }

    const Conversion& conversion_;
    const std::vector<Job>& jobs_;
    const ReadFiles& read_;
    const Streaming& streaming_;
    std::vector<std::optional<Failure>> failures_;
    std::atomic<size_t> next_ = 0;
    Progress progress_;
};

std::vector<Job> jobs_of(const Options& o, const Geometry& source, Kind kind) {
    const bool many = takes_many(o.output, kind);
    const Recording all = recording_of(o, source);
    std::vector<Job> jobs;
    if (many && !is_named(o.output)) {
        jobs.push_back({all, o.output, true});
    } else {
        const std::vector<std::string> outputs = name_outputs(o.inputs, o.output);
        for (size_t i = 0; i < o.inputs.size(); ++i) {
            jobs.push_back({all, outputs[i], many});
            jobs.back().recording.files = {o.inputs[i]};
        }
    }
    for (Job& job : jobs)
        if (job.is_stream && !is_numbered(o.output))
            job.is_stream = !is_single(job.recording, kind);
    return jobs;
}

uint32_t at_a_time(const Options& o, size_t jobs) {
    const size_t wanted = o.jobs == 0u ? processors() : o.jobs.value_or(1);
    return static_cast<uint32_t>(std::min(wanted, jobs));
}

void check_all_files(const Options& o, const SettingTexts& said, const std::vector<Job>& jobs) {
    std::vector<std::string> read = o.inputs, written;
    for (const Job& job : jobs)
        for (const std::string& file : outputs_of(job.recording, job.output))
            written.push_back(file);
    for (const std::string& file : o.developing.inputs(said)) read.push_back(file);
    for (const std::string& file : as_list(o.developing.save)) written.push_back(file);
    for (const std::string& file : as_list(o.checksums)) written.push_back(file);
    check_files(read, written, o.force);
}

// A point is one of this dump; what it says of the light holds for others too.
SettingTexts lasting(SettingTexts said, Conversion conversion, const Recording& recording,
                     TRW_Pool* pool) {
    if (conversion.tuning.white != Tuning::White::point) return said;
    conversion.skip = recording.offset(recording.range.first);
    std::vector<double> gains;
    for (const double gain : gains_of(conversion, recording.files.front(), pool))
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

// What goes to stdout is gone, and only the frames of a stream are summed up on their way.
void check_checksums(const Options& o, const std::vector<Job>& jobs) {
    if (o.checksums.empty() || o.output != "-" || jobs.front().is_stream) return;
    throw Failure(Exit::usage, "no --checksums of a picture on stdout",
                  "they are taken of the file that is written",
                  "write a file by -o, or a stream by --as rgb24");
}

void convert_all(Options o) {
    check_saving(o);
    o.output = output_template(o.output, o.as);
    const Kind kind = kind_of_output(o.output, o.as);
    const Format* video = video_format(kind);
    if (video != nullptr && video->significant == 16) o.depth = 16;
    const SettingTexts said = o.developing.all();
    const FrameRate rate = o.stream.frame_rate("25");
    const Geometry source = o.reading.geometry(!o.phase.empty());
    const std::vector<Job> jobs = jobs_of(o, source, kind);
    check_checksums(o, jobs);
    check_all_files(o, said, jobs);
    const Conversion conversion = conversion_of(o, said, kind, o.force);
    note_way(o, conversion);
    const bool streams =
        std::any_of(jobs.begin(), jobs.end(), [](const Job& job) { return job.is_stream; });
    if (streams) stop_at_first_signal();
    const uint32_t jobs_at_a_time = at_a_time(o, jobs.size());
    const uint32_t makers = !streams ? 1
                            : jobs.size() == 1
                                ? makers_of(o.jobs, o.threads)
                                : std::max(1u, makers_of({}, o.threads) / jobs_at_a_time);
    const Helpers helpers(o.threads, jobs_at_a_time * makers);
    const ReadFiles read(o.inputs);
    std::optional<ChecksumWriter> checksums;
    if (!o.checksums.empty()) checksums.emplace(o.checksums, o.force, jobs.size());
    const Streaming streaming{rate, makers, o.stream.json, checksums ? &*checksums : nullptr};
    const std::optional<Failure> failure =
        Batch(conversion, jobs, read, streaming).run(jobs_at_a_time, helpers.pool());
    if (checksums) checksums->publish();
    if (failure) throw Failure(*failure);
    end_if_stopped();
    if (!o.developing.save.empty())
        save_settings(lasting(said, conversion, jobs.front().recording, helpers.pool()),
                      o.developing.save, o.force);
}

void add_writing(CLI::App* command, Options* o) {
    const char* group = "Where to put it";
    command
        ->add_option(
            "-o,--output", o->output,
            "FILE.png, .tif, .ppm, .pgm, .dng, .raw, .y4m or .rgb24, or a folder; {name} is the "
            "input's, {n} the frame's number; - is stdout")
        ->type_name("FILE")
        ->required()
        ->group(group);
    command->add_option("--as", o->as, "Kind of file, whatever its name says")
        ->type_name("KIND")
        ->group(group);
    command->add_flag("--force", o->force, "Replace existing files")->group(group);
    command
        ->add_option("--jobs", o->jobs,
                     "Convert so many at a time; 0: one per processor [1; frames of a recording: "
                     "one per thread]")
        ->check(CLI::Range(0, 256))
        ->type_name("N")
        ->group(group);
    add_threads(command, &o->threads, group);
    add_stream_options(command, &o->stream, "25", group);
    command
        ->add_option("--checksums", o->checksums,
                     "Write a list here: CRC-32C of each frame as read and as written")
        ->type_name("FILE")
        ->group(group);
}

}  // namespace

void add_convert(CLI::App* app) {
    CLI::App* command = app->add_subcommand("convert", "Convert raw dumps to pictures");
    const auto options = std::make_shared<Options>();
    add_recording(command, options.get());
    add_making(command, options.get());
    add_result(command, options.get());
    add_sensor_options(command, &options->developing);
    add_look_options(command, &options->developing);
    add_save_option(command, &options->developing);
    add_writing(command, options.get());
    command->footer(footer);
    command->callback([options] { convert_all(*options); });
}

}  // namespace trv::tool
