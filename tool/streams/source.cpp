#include "tool/streams/source.h"

#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tool/cli/cleanup.h"
#include "tool/cli/geometry.h"
#include "tool/cli/text.h"

namespace trv::tool {
namespace {

Failure not_there(const std::string& file) {
    return {Exit::input, text("cannot open ", file), std::strerror(errno),
            "check the file's name and permissions"};
}

// Bytes from where a file is read to its end; nothing where it does not tell. A redirected stdin
// may stand anywhere in its file.
std::optional<uint64_t> length_of(const std::string& file) {
    struct stat status {};
    if ((file == "-" ? fstat(STDIN_FILENO, &status) : stat(file.c_str(), &status)) != 0)
        throw not_there(file == "-" ? "stdin" : file);
    if (!S_ISREG(status.st_mode)) return std::nullopt;
    const off_t here = file == "-" ? lseek(STDIN_FILENO, 0, SEEK_CUR) : 0;
    return static_cast<uint64_t>(std::max<off_t>(0, status.st_size - here));
}

// Frames of a file of that length. The last one needs no padding after it.
uint64_t frames_in(const Recording& r, uint64_t length) {
    const uint64_t first = r.offset(0), size = r.geometry.bytes();
    if (length <= first) return 0;
    const uint64_t rest = length - first;
    const uint64_t least = r.partial ? 1 : size;
    return rest < least ? 0 : (rest - least) / r.pitch() + 1;
}

// Of all files, wanted or not.
std::optional<uint64_t> count_frames(const Recording& r) {
    uint64_t total = 0;
    bool known = true;
    for (const std::string& file : r.files) {
        const auto length = length_of(file);
        if (length) total += frames_in(r, *length);
        known = known && length;
    }
    return known ? std::optional(total) : std::nullopt;
}

// Black from a byte on: zero, and 128 in what is a difference of colours.
void blacken(const Frame& dump, const Geometry& g, uint64_t from) {
    uint8_t* bytes = dump.line(0);
    std::fill(bytes + from, bytes + g.bytes(), uint8_t{0});
    if (g.format->family != Family::yuv || g.packing != 0) return;
    for (const Field& field : g.format->fields) {
        if (field.channel != trv::Channel::U && field.channel != trv::Channel::V) continue;
        const uint64_t group = group_bytes(*g.format), place = field.bit / 8;
        for (uint64_t y = from / g.stride; y < g.height; ++y)
            for (uint64_t at = place; at < g.line(); at += group)
                if (y * g.stride + at >= from) bytes[y * g.stride + at] = 128;
    }
}

}  // namespace

FrameSource::FrameSource(Recording recording)
    : recording_(std::move(recording)),
      total_(count_frames(recording_)),
      stop_fd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

FrameSource::~FrameSource() {
    ::close(stop_fd_);
}

std::optional<uint64_t> FrameSource::count() const {
    return total_ ? std::optional(recording_.range.count(*total_)) : std::nullopt;
}

void FrameSource::stop() {
    stopped_ = true;
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t ignored = write(stop_fd_, &one, sizeof one);
}

bool FrameSource::is_stopping() const {
    return stopped_ || is_stopped();
}

std::string FrameSource::called() const {
    return name() == "-" ? "stdin" : name();
}

bool FrameSource::open_next() {
    if (begun_ && at_ + 1 >= recording_.files.size()) return false;
    if (begun_) ++at_;
    begun_ = true;
    input_ = std::make_unique<Input>(name());
    input_->stop_by(stop_fd_, watches_stdout_);
    in_file_ = 0;
    gap_ = recording_.offset(0);
    return true;
}

void FrameSource::close() {
    input_.reset();
}

// Passes over frames of this file, and returns how many there were.
uint64_t FrameSource::pass(uint64_t frames) {
    const uint64_t pitch = recording_.pitch();
    uint64_t passed = 0;
    if (const auto rest = input_->remaining()) {
        const uint64_t there =
            *rest < gap_ ? 0 : frames_in(recording_, *rest - gap_ + recording_.offset(0));
        passed = std::min(frames, there);
        gap_ += passed * pitch;
    } else {
        for (; passed < frames; ++passed) {
            // The last frame may lack the padding after it, and is there all the same.
            if (input_->skip(gap_) < gap_) break;
            if (input_->skip(recording_.geometry.bytes()) < recording_.geometry.bytes()) break;
            gap_ = pitch - recording_.geometry.bytes();
        }
    }
    index_ += passed;
    in_file_ += passed;
    return passed;
}

// Whether the next frame of this file is wanted, after those are passed over that are not.
bool FrameSource::go_to_wanted() {
    const FrameRange& range = recording_.range;
    const uint64_t after = index_ < range.first
                               ? range.first - index_
                               : (range.step - (index_ - range.first) % range.step) % range.step;
    return after == 0 || pass(after) == after;
}

Failure FrameSource::too_short(uint64_t available) const {
    const Geometry& g = recording_.geometry;
    const uint64_t first = recording_.offset(0);
    const std::string behind = first == 0 ? "" : text(" after the first ", first);
    return {Exit::input,
            text(called(), " is too short for ", g.width, "x", g.height, " ", g.name()),
            text("needs ", g.bytes(), " bytes (lines of ", g.stride, "), has ", available, behind),
            advice_for_short(g, available, first)};
}

Failure FrameSource::breaks_off(uint64_t got) const {
    if (in_file_ == 0) return too_short(got);
    return {Exit::input, text(called(), " breaks off in frame ", index_),
            text("it has ", got, " of its ", recording_.geometry.bytes(), " bytes"),
            "the frames before it are written; --partial takes it too, black from there on, and "
            "--frames leaves it out"};
}

Failure FrameSource::nothing() const {
    if (!failures_.empty()) return failures_.front();
    const uint64_t total = total_.value_or(index_);
    if (total != 0)
        return {Exit::input, "none of these frames is there",
                text(called(), recording_.files.size() > 1 ? " and the others have " : " has ",
                     total, ", counted from 0"),
                "check --frames"};
    const uint64_t length = length_of(recording_.files.front()).value_or(0);
    return too_short(length - std::min(length, recording_.offset(0)));
}

std::optional<uint64_t> FrameSource::next(const Frame& dump) {
    const Geometry& g = recording_.geometry;
    for (;;) {
        if (is_stopping()) return std::nullopt;
        try {
            if (recording_.range.is_over(index_)) return std::nullopt;
            if (input_ == nullptr && !open_next()) return std::nullopt;
            if (!go_to_wanted()) {
                close();
                continue;
            }
            if (recording_.range.is_over(index_)) return std::nullopt;
            const bool reached = input_->skip(gap_) == gap_;
            const uint64_t got = reached ? input_->read(dump.line(0), g.bytes()) : 0;
            if (got == g.bytes() || (got != 0 && recording_.partial)) {
                if (got < g.bytes()) blacken(dump, g, got);
                gap_ = recording_.pitch() - g.bytes();
                bytes_ = got;
                ++in_file_;
                return index_++;
            }
            if ((got != 0 || in_file_ == 0) && !is_stopping()) failures_.push_back(breaks_off(got));
        } catch (const Failure& failure) {
            failures_.push_back(failure);
        }
        close();
    }
}

}  // namespace trv::tool
