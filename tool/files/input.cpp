#include "tool/files/input.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

#include "tool/cli/cleanup.h"
#include "tool/cli/error.h"
#include "tool/cli/geometry.h"
#include "tool/cli/report.h"
#include "tool/cli/text.h"

namespace trv::tool {
namespace {

Failure too_short(const Input& input, const Geometry& g, uint64_t available, uint64_t skip) {
    const std::string behind = skip == 0 ? "" : text(" after the first ", skip);
    return {Exit::input,
            text(input.name(), " is too short for ", g.width, "x", g.height, " ", g.name()),
            text("needs ", g.bytes(), " bytes (lines of ", g.stride, "), has ", available, behind),
            advice_for_short(g, available, skip)};
}

Failure endless(const Input& input, uint64_t longest) {
    return {Exit::input, text(input.name(), " does not end within ", longest >> 20, " MiB"),
            "a stream tells its length only by its end, and what it holds is told by its length",
            "put it into a file, or send the first bytes only, as by `head -c 10000000`"};
}

void note_surplus(Input* input, const Geometry& geometry, uint64_t skip) {
    if (const auto rest = input->remaining()) {
        if (*rest != 0)
            note(text(input->name(), ": ", *rest, " bytes after the picture are ignored (",
                      advice_for_surplus(geometry, *rest, skip), ")"));
        return;
    }
    if (input->has_more())
        note(text(input->name(),
                  ": what follows the picture is ignored; with {n} in the output's "
                  "name `trvil convert` makes files of all frames"));
}

}  // namespace

Input::Input(const std::string& path)
    : name_(path == "-" ? "stdin" : path),
      fd_(path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (fd_ < 0) fail("cannot open", "check the file's name and permissions");
    struct stat status {};
    if (fstat(fd_, &status) != 0) fail("cannot look at", "");
    if (S_ISDIR(status.st_mode)) {
        close(fd_);
        throw Failure(Exit::input, text(name_, " is a folder"), "",
                      text("name the files in it, as in ", name_, "/*.raw"));
    }
    if (S_ISREG(status.st_mode)) start_of_file(status);
}

Input::~Input() {
    close(fd_);
}

// A redirected stdin may stand anywhere in its file.
void Input::start_of_file(const struct stat& status) {
    const off_t here = lseek(fd_, 0, SEEK_CUR);
    remaining_ = static_cast<uint64_t>(std::max<off_t>(0, status.st_size - here));
}

void Input::fail(const char* what, const char* next) const {
    throw Failure(Exit::input, text(what, " ", name_), std::strerror(errno), next);
}

void Input::stop_by(int fd, bool watches_stdout) {
    if (remaining_) return;
    stop_fd_ = fd;
    watches_stdout_ = watches_stdout;
}

// Whether there is something to read, before there is a reason to stop.
bool Input::wait() const {
    const int out = watches_stdout_ ? STDOUT_FILENO : -1;
    pollfd waiting[] = {
        {fd_, POLLIN, 0}, {stop_fd_, POLLIN, 0}, {stop_signal_fd(), POLLIN, 0}, {out, 0, 0}};
    while (poll(waiting, std::size(waiting), -1) < 0)
        if (errno != EINTR) fail("cannot wait for", "");
    if ((waiting[3].revents & POLLERR) != 0) throw ReaderGone();
    return waiting[1].revents == 0 && waiting[2].revents == 0;
}

uint64_t Input::fetch(uint8_t* to, uint64_t wanted) {
    uint64_t done = 0;
    while (done < wanted && (stop_fd_ < 0 || wait())) {
        const ssize_t got = ::read(fd_, to + done, wanted - done);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) fail("cannot read", "");
        if (got == 0) break;
        done += static_cast<uint64_t>(got);
    }
    return done;
}

uint64_t Input::read(uint8_t* to, uint64_t wanted) {
    const auto kept = static_cast<size_t>(std::min<uint64_t>(wanted, ahead_.size()));
    std::copy_n(ahead_.begin(), kept, to);
    ahead_.erase(ahead_.begin(), ahead_.begin() + static_cast<ptrdiff_t>(kept));
    const uint64_t done = kept + fetch(to + kept, wanted - kept);
    if (remaining_) *remaining_ -= std::min(*remaining_, done);
    return done;
}

const std::vector<uint8_t>& Input::peek(size_t most) {
    const size_t had = ahead_.size();
    if (had >= most) return ahead_;
    ahead_.resize(most);
    ahead_.resize(had + fetch(&ahead_[had], most - had));
    return ahead_;
}

uint64_t Input::skip(uint64_t bytes) {
    if (ahead_.empty() && remaining_ && bytes <= *remaining_) {
        lseek(fd_, static_cast<off_t>(bytes), SEEK_CUR);
        *remaining_ -= bytes;
        return bytes;
    }
    uint8_t block[65536];
    uint64_t done = 0;
    while (done < bytes) {
        const uint64_t got = read(block, std::min<uint64_t>(bytes - done, sizeof block));
        if (got == 0) break;
        done += got;
    }
    return done;
}

bool Input::has_more() {
    constexpr int moment = 50;  // milliseconds
    pollfd waiting{fd_, POLLIN, 0};
    return !ahead_.empty() || (poll(&waiting, 1, moment) == 1 && !peek(1).empty());
}

Frame read_bytes(const std::string& path, const Geometry& geometry, uint64_t skip) {
    Input input(path);
    // Known lengths are judged before memory is asked for.
    if (const auto length = input.remaining()) {
        const uint64_t skipped = std::min(*length, skip);
        if (*length - skipped < geometry.bytes())
            throw too_short(input, geometry, *length - skipped, skipped);
    }
    input.skip(skip);
    Frame frame(bytes_of(geometry));
    const uint64_t got = input.read(frame.line(0), geometry.bytes());
    if (got < geometry.bytes()) throw too_short(input, geometry, got, skip);
    note_surplus(&input, geometry, skip);
    return frame;
}

Frame read_frame(const std::string& path, const Geometry& geometry, uint64_t skip) {
    Frame frame = read_bytes(path, geometry, skip);
    return geometry.packing == 0 ? std::move(frame) : unpack(frame, geometry);
}

Contents read_contents(const std::string& path, uint64_t most, uint64_t longest) {
    constexpr uint64_t block = uint64_t{1} << 20;
    Input input(path);
    const auto whole = input.remaining();
    const uint64_t end = whole ? std::min(*whole, most) : longest;
    Contents contents{{}, 0};
    contents.bytes.reserve(std::min(end, most));
    std::vector<uint8_t> piece(block);
    while (contents.length < end) {
        const uint64_t got = input.read(piece.data(), std::min(block, end - contents.length));
        if (got == 0) break;
        const uint64_t kept = std::min(got, most - contents.bytes.size());
        contents.bytes.insert(contents.bytes.end(), piece.data(), piece.data() + kept);
        contents.length += got;
    }
    if (!whole && contents.length == longest) throw endless(input, longest);
    if (whole) contents.length = *whole;
    return contents;
}

}  // namespace trv::tool
