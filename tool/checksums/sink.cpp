#include "tool/checksums/sink.h"

#include <vector>

#include "tool/checksums/crc32c.h"
#include "tool/files/input.h"
#include "tool/files/naming.h"

namespace trv::tool {

FrameSum sum_of_file(const std::string& path) {
    FrameSum sum;
    sum.place.file = path;
    Input input(path);
    std::vector<uint8_t> block(1 << 18);
    while (const uint64_t got = input.read(block.data(), block.size())) {
        sum.sum = crc32c(block.data(), got, sum.sum);
        sum.place.bytes += got;
    }
    return sum;
}

ChecksumSink::ChecksumSink(std::unique_ptr<FrameSink> sink, const Target& target,
                           ChecksumWriter* list, size_t job)
    : sink_(std::move(sink)), target_(target), list_(list), job_(job) {}

// Frames in files of their own stay there whatever becomes of those after them.
ChecksumSink::~ChecksumSink() {
    if (!finished_ && !is_numbered(target_.output)) list_->drop(job_);
}

void ChecksumSink::arrived(StreamFrame* frame) {
    frame->input.sum = crc32c(frame->dump->line(0), frame->input.place.bytes);
    sink_->arrived(frame);
}

void ChecksumSink::made(StreamFrame* frame) {
    sink_->made(frame);
    if (is_numbered(target_.output)) {
        frame->output = sum_of_file(numbered(target_.output, frame->index));
        return;
    }
    const std::vector<uint8_t>& bytes = frame->bytes;
    const uint64_t count =
        bytes.empty() ? frame->picture->geometry().bytes() : uint64_t{bytes.size()};
    frame->output.sum = crc32c(bytes.empty() ? frame->picture->line(0) : bytes.data(), count);
    frame->output.place = {target_.output, 0, std::nullopt, count};
}

void ChecksumSink::put(const StreamFrame& frame) {
    sink_->put(frame);
    ChecksumLine line{frame.index, frame.input, frame.output};
    if (is_numbered(target_.output)) return list_->add(job_, line);
    if (frames_ == 0 && target_.kind == Kind::y4m)
        offset_ = y4m_head(frame.picture->geometry(), target_.rate).size();
    if (target_.kind == Kind::tif) {
        line.output.place.page = frames_++;
        if (frames_ == 1) {
            first_page_ = line;
            return;
        }
        if (first_page_) list_->add(job_, *std::exchange(first_page_, std::nullopt));
    } else {
        line.output.place.offset = offset_;
        offset_ += line.output.place.bytes;
        ++frames_;
    }
    list_->add(job_, line);
}

void ChecksumSink::finish() {
    sink_->finish();
    finished_ = true;
    if (!first_page_) return;
    first_page_->output = sum_of_file(target_.output);
    list_->add(job_, *first_page_);
}

}  // namespace trv::tool
