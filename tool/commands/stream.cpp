#include "tool/commands/stream.h"

#include <algorithm>

#include "tool/checksums/sink.h"
#include "tool/cli/reading.h"
#include "tool/cli/text.h"
#include "tool/commands/threads.h"
#include "tool/files/naming.h"
#include "tool/files/picture_write.h"
#include "tool/streams/progress.h"

namespace trv::tool {
namespace {

constexpr uint32_t most_makers = 256;  // each needs memory for its frame

std::string name_of(const Recording& recording) {
    const std::string& first = recording.files.front();
    const std::string name = first == "-" ? "stdin" : first;
    const size_t others = recording.files.size() - 1;
    return others == 0 ? name : text(name, " and ", others, " more");
}

}  // namespace

Recording FrameOptions::recording(std::vector<std::string> files, const Geometry& geometry,
                                  uint64_t skip) const {
    return {std::move(files), geometry, skip, frame_skip, range_named(frames), partial};
}

void add_frame_options(CLI::App* command, FrameOptions* o) {
    command
        ->add_option("--frames", o->frames,
                     "Of several frames A:B:STEP: from A, before B, or A alone, from 0 [all]")
        ->type_name("FRAMES")
        ->group(reading_group);
    command->add_option("--frame-skip", o->frame_skip, "Bytes before each frame, after --skip [0]")
        ->type_name("BYTES")
        ->group(reading_group);
    command
        ->add_flag("--partial", o->partial,
                   "Take a last frame that breaks off, black where it is missing")
        ->group(reading_group);
}

FrameRate StreamOptions::frame_rate(const char* usual) const {
    return frame_rate_named(rate.empty() ? usual : rate);
}

void add_stream_options(CLI::App* command, StreamOptions* o, const char* usual, const char* group) {
    command
        ->add_option("--fps", o->rate,
                     text("Frames a second that a .y4m says: 25 or 30000/1001 [", usual, "]"))
        ->type_name("RATE")
        ->group(group);
    command->add_flag("--json", o->json, "Streams: tell of progress by lines of JSON on stderr")
        ->group(group);
}

bool takes_many(const std::string& output, Kind kind) {
    if (is_numbered(output) && kind == Kind::y4m)
        throw Failure(Exit::usage, "{n} makes no sense with .y4m", "it holds all frames",
                      "leave {n} out, or write a .png for each");
    return is_numbered(output) || is_video(kind) || kind == Kind::raw ||
           (kind == Kind::tif && output != "-");
}

bool is_single(const Recording& recording, Kind kind) {
    if (recording.partial || is_video(kind) || recording.files.size() != 1) return false;
    try {
        return FrameSource(recording).count() == 1;
    } catch (const Failure&) {
        return false;  // the stream says why, or reads all where looking succeeds then
    }
}

std::vector<std::string> outputs_of(const Recording& recording, const std::string& output) {
    if (!is_numbered(output)) return {output};
    std::vector<std::string> outputs;
    try {
        const FrameRange& range = recording.range;
        const uint64_t count = FrameSource(recording).count().value_or(0);
        for (uint64_t i = 0; i < count; ++i)
            outputs.push_back(numbered(output, range.first + i * range.step));
    } catch (const Failure&) {
        // Said when it is read: other recordings are converted.
    }
    return outputs;
}

uint32_t makers_of(std::optional<uint32_t> jobs, uint32_t threads) {
    if (jobs && *jobs != 0) return *jobs;
    const uint32_t all = jobs || threads == 0 ? processors() : threads;
    return std::min(all, most_makers);
}

void throw_failures(const FrameSource& source) {
    const std::vector<Failure>& failures = source.failures();
    if (failures.empty()) return;
    for (size_t i = 0; i + 1 < failures.size(); ++i) report(failures[i]);
    throw Failure(failures.back());
}

void run(const Stream& stream, const MakePicture& make, const WritePicture& write) {
    FrameSource source(stream.recording);
    if (stream.output == "-") source.watch_stdout();
    const Target target{stream.output, stream.kind, stream.force,
                        stream.read,   stream.rate, source.count()};
    auto sink =
        is_numbered(stream.output) ? numbered_sink(target, write) : joined_sink(target, write);
    if (stream.checksums != nullptr)
        sink =
            std::make_unique<ChecksumSink>(std::move(sink), target, stream.checksums, stream.job);
    StreamProgress progress(name_of(stream.recording), source.count(), stream.json);
    run_stream(&source, make, sink.get(), stream.makers, &progress);
    throw_failures(source);
}

void convert_stream(const Stream& stream, const Conversion& c, TRW_Pool* pool) {
    Settled settled;
    const auto make_one = c.kind == Kind::dng ? make_mosaic : make_picture;
    const MakePicture make = [&](StreamFrame* frame) {
        make_one(c, &*frame->dump, frame->file, &settled, pool, &frame->picture);
    };
    const WritePicture write = [&](const StreamFrame& frame, const std::string& name) {
        if (c.kind == Kind::dng)
            return put_dng(frame.picture->tightened(), *settled.colours, name, c.force);
        Output output(name, c.force);
        write_picture(*frame.picture, c.kind, &output, nullptr);
    };
    run(stream, make, write);
}

}  // namespace trv::tool
