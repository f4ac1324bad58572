#include "tool/commands/stream.h"

#include <algorithm>

#include "tool/cli/text.h"
#include "tool/commands/threads.h"
#include "tool/files/naming.h"
#include "tool/files/picture_write.h"
#include "tool/streams/pipeline.h"
#include "tool/streams/progress.h"

namespace trv::tool {
namespace {

std::string name_of(const Recording& recording) {
    const std::string& first = recording.files.front();
    const std::string name = first == "-" ? "stdin" : first;
    const size_t others = recording.files.size() - 1;
    return others == 0 ? name : text(name, " and ", others, " more");
}

MakePicture maker(const StreamJob& job, Settled* settled) {
    const auto make = job.conversion.kind == Kind::dng ? make_mosaic : make_picture;
    return [&job, settled, make](StreamFrame* frame) {
        make(job.conversion, &*frame->dump, frame->file, settled, job.pool, &frame->picture);
    };
}

WritePicture writer(const StreamJob& job, const Settled* settled) {
    const Conversion& c = job.conversion;
    return [&c, settled](const StreamFrame& frame, const std::string& name) {
        if (c.kind == Kind::dng)
            return put_dng(frame.picture->tightened(), *settled->colours, name, c.force);
        Output output(name, c.force);
        write_picture(*frame.picture, c.kind, &output, nullptr);
    };
}

}  // namespace

uint32_t makers_of(uint32_t jobs, uint32_t threads) {
    const uint32_t all = threads != 0 ? threads : processors();
    return jobs == 0 ? all : jobs;
}

void convert_stream(const StreamJob& job) {
    FrameSource source(job.recording);
    Settled settled;
    const Target target{job.output, job.conversion.kind, job.conversion.force, job.read,
                        job.rate,   source.count()};
    const WritePicture write = writer(job, &settled);
    const auto sink =
        is_numbered(job.output) ? numbered_sink(target, write) : joined_sink(target, write);
    StreamProgress progress(name_of(job.recording), source.count(), job.json);
    run_stream(&source, maker(job, &settled), sink.get(), job.makers, &progress);
    throw_failures(source);
}

void throw_failures(const FrameSource& source) {
    const std::vector<Failure>& failures = source.failures();
    if (failures.empty()) return;
    for (size_t i = 0; i + 1 < failures.size(); ++i) report(failures[i]);
    throw Failure(failures.back());
}

}  // namespace trv::tool
