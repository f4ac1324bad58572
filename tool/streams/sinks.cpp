#include "tool/streams/sinks.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "tool/cli/error.h"
#include "tool/cli/report.h"
#include "tool/cli/text.h"
#include "tool/files/naming.h"
#include "tool/files/output.h"
#include "tool/files/picture_write.h"
#include "tool/files/tiff_pages.h"

namespace trv::tool {
namespace {

constexpr int pipe_bytes = 1 << 20;  // what every user may have

class NumberedSink : public FrameSink {
  public:
    NumberedSink(const Target& target, WritePicture write)
        : output_(target.output), read_(target.read), write_(std::move(write)) {}

    void made(StreamFrame* frame) override {
        const std::string name = numbered(output_, frame->index);
        read_.check(name);
        write_(*frame, name);
    }

    void put(const StreamFrame&) override {}
    void finish() override {}

  private:
    std::string output_;
    const ReadFiles& read_;
    WritePicture write_;
};

Failure not_written(const std::string& target, int error) {
    return {Exit::output, text("cannot write ", target == "-" ? "to stdout" : target),
            std::strerror(error), "check the folder, its permissions and the space left"};
}

// One frame after the other, to stdout or into a file.
class ByteSink : public FrameSink {
  public:
    explicit ByteSink(const Target& target) : target_(target.output), kind_(target.kind) {
        if (target_ == "-") {
            check_target(target_, target.force);
            fcntl(STDOUT_FILENO, F_SETPIPE_SZ, pipe_bytes);  // where it is a pipe
            return;
        }
        output_.emplace(target_, target.force);
        fd_ = open(output_->path().c_str(), O_WRONLY | O_CLOEXEC);
        if (fd_ < 0) throw not_written(target_, errno);
    }
    ~ByteSink() override {
        if (output_ && fd_ >= 0) close(fd_);
    }

    void put(const StreamFrame& frame) override {
        const Geometry& g = frame.picture->geometry();
        if (frames_++ == 0) begin(g);
        if (frame.bytes.empty())
            write_all(frame.picture->line(0), g.bytes());
        else
            write_all(frame.bytes.data(), frame.bytes.size());
    }

    void finish() override {
        if (output_) {
            const int fd = std::exchange(fd_, -1);
            if (close(fd) != 0) throw not_written(target_, errno);
            output_->publish();
        }
        if (kind_ == Kind::raw)
            note(text(target_ == "-" ? "stdout" : target_, " holds ",
                      frames_ == 1 ? "" : text(frames_, " frames of "), layout_text(*geometry_)));
    }

  protected:
    virtual void begin(const Geometry& picture) { geometry_ = picture; }

    void write_all(const void* bytes, size_t size) {
        const auto* from = static_cast<const uint8_t*>(bytes);
        while (size != 0) {
            const ssize_t put = write(fd_, from, size);
            if (put < 0 && errno == EINTR) continue;
            if (put < 0 && errno == EPIPE && target_ == "-") throw ReaderGone();
            if (put < 0) throw not_written(target_, errno);
            from += put;
            size -= static_cast<size_t>(put);
        }
    }

  private:
    std::string target_;
    Kind kind_;
    std::optional<Output> output_;
    int fd_ = STDOUT_FILENO;
    uint64_t frames_ = 0;
    std::optional<Geometry> geometry_;
};

class Y4mSink : public ByteSink {
  public:
    explicit Y4mSink(const Target& target) : ByteSink(target), rate_(target.rate) {}

    void made(StreamFrame* frame) override { y4m_frame(*frame->picture, &frame->bytes); }

  protected:
    void begin(const Geometry& picture) override {
        const std::string head = y4m_head(picture, rate_);
        write_all(head.data(), head.size());
    }

  private:
    FrameRate rate_;
};

// A single frame is written as a picture of its own is, so a second one is waited for.
class StackSink : public FrameSink {
  public:
    StackSink(const Target& target, WritePicture write_single)
        : target_(target.output),
          frames_known_(target.frames),
          output_(target.output, target.force),
          write_single_(std::move(write_single)) {}

    void made(StreamFrame* frame) override { page_bytes(*frame->picture, &frame->bytes); }

    void put(const StreamFrame& frame) override {
        if (frames_++ == 0 && frames_known_.value_or(1) == 1) {
            keep_first(frame);
            return;
        }
        if (pages_ == nullptr) begin(frame);
        add(frame.picture->geometry(), frame.bytes);
    }

    void finish() override {
        if (pages_ == nullptr) {
            write_single_(first_, target_);
            return;
        }
        pages_.reset();
        const bool failed = std::ferror(file_.get()) != 0;
        if (std::fclose(file_.release()) != 0 || failed) throw not_written(target_, errno);
        output_.publish();
    }

  private:
    struct CloseFile {
        void operator()(FILE* file) const { std::fclose(file); }
    };

    void keep_first(const StreamFrame& frame) {
        first_.index = frame.index;
        first_.bytes = frame.bytes;
        first_.picture = frame.picture->tightened();
    }

    void begin(const StreamFrame& frame) {
        file_.reset(std::fopen(output_.path().c_str(), "w+b"));
        if (file_ == nullptr) throw not_written(target_, errno);
        const uint64_t bytes = frames_known_.value_or(0) * (frame.bytes.size() + page_slack);
        const bool big = !frames_known_ || bytes > most_tiff_bytes;
        pages_ = std::make_unique<TiffPages>(file_.get(), big);
        if (first_.picture) add(first_.picture->geometry(), first_.bytes);
        first_ = {};
    }

    void add(const Geometry& picture, const std::vector<uint8_t>& bytes) {
        errno = 0;
        pages_->add(picture, bytes);
        if (std::ferror(file_.get()) != 0) throw not_written(target_, errno == 0 ? EIO : errno);
    }

    std::string target_;
    std::optional<uint64_t> frames_known_;
    Output output_;
    WritePicture write_single_;
    StreamFrame first_;
    uint64_t frames_ = 0;
    std::unique_ptr<FILE, CloseFile> file_;
    std::unique_ptr<TiffPages> pages_;
};

}  // namespace

std::unique_ptr<FrameSink> numbered_sink(const Target& target, WritePicture write) {
    return std::make_unique<NumberedSink>(target, std::move(write));
}

std::unique_ptr<FrameSink> joined_sink(const Target& target, WritePicture write_single) {
    if (target.kind == Kind::tif)
        return std::make_unique<StackSink>(target, std::move(write_single));
    if (target.kind == Kind::y4m) return std::make_unique<Y4mSink>(target);
    return std::make_unique<ByteSink>(target);
}

}  // namespace trv::tool
