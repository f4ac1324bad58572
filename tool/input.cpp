#include "tool/input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>

#include "tool/error.h"
#include "tool/geometry.h"
#include "tool/report.h"
#include "tool/text.h"

namespace trv::tool {
namespace {

class Input {
  public:
    explicit Input(const std::string& path)
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
    ~Input() { close(fd_); }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    const std::string& name() const { return name_; }

    // Bytes from here to the end; pipes do not tell.
    std::optional<uint64_t> remaining() const { return remaining_; }

    // How many were read: fewer than wanted at the end of the input.
    uint64_t read(uint8_t* to, uint64_t wanted) {
        uint64_t done = 0;
        while (done < wanted) {
            const ssize_t got = ::read(fd_, to + done, wanted - done);
            if (got < 0 && errno == EINTR) continue;
            if (got < 0) fail("cannot read", "");
            if (got == 0) break;
            done += static_cast<uint64_t>(got);
        }
        if (remaining_) *remaining_ -= std::min(*remaining_, done);
        return done;
    }

    void skip(uint64_t bytes) {
        if (remaining_ && bytes <= *remaining_) {
            lseek(fd_, static_cast<off_t>(bytes), SEEK_CUR);
            *remaining_ -= bytes;
            return;
        }
        uint8_t block[4096];
        while (bytes != 0) {
            const uint64_t got = read(block, std::min<uint64_t>(bytes, sizeof block));
            if (got == 0) return;
            bytes -= got;
        }
    }

  private:
    // A redirected stdin may stand anywhere in its file.
    void start_of_file(const struct stat& status) {
        const off_t here = lseek(fd_, 0, SEEK_CUR);
        remaining_ = static_cast<uint64_t>(std::max<off_t>(0, status.st_size - here));
    }

    [[noreturn]] void fail(const char* what, const char* next) const {
        throw Failure(Exit::input, text(what, " ", name_), std::strerror(errno), next);
    }

    std::string name_;
    int fd_;
    std::optional<uint64_t> remaining_;
};

Failure too_short(const Input& input, const Geometry& g, uint64_t available, uint64_t skip) {
    const std::string behind = skip == 0 ? "" : text(" behind the first ", skip);
    return {Exit::input,
            text(input.name(), " is too short for ", g.width, "x", g.height, " ", g.format->name),
            text("needs ", g.bytes(), " bytes (lines of ", g.stride, "), has ", available, behind),
            advice_for_short(g, available, skip)};
}

void note_surplus(Input* input, const Geometry& geometry, uint64_t skip) {
    if (const auto rest = input->remaining()) {
        if (*rest != 0)
            note(text(input->name(), ": ", *rest, " bytes behind the picture are ignored (",
                      advice_for_surplus(geometry, *rest, skip), ")"));
        return;
    }
    uint8_t more = 0;
    if (input->read(&more, 1) == 1)
        note(text(input->name(), ": what follows the picture is ignored"));
}

}  // namespace

Frame read_frame(const std::string& path, const Geometry& geometry, uint64_t skip) {
    Input input(path);
    // Known lengths are judged before memory is asked for.
    if (const auto length = input.remaining()) {
        const uint64_t skipped = std::min(*length, skip);
        if (*length - skipped < geometry.bytes())
            throw too_short(input, geometry, *length - skipped, skipped);
    }
    input.skip(skip);
    Frame frame(geometry);
    const uint64_t got = input.read(frame.line(0), geometry.bytes());
    if (got < geometry.bytes()) throw too_short(input, geometry, got, skip);
    note_surplus(&input, geometry, skip);
    return frame;
}

Contents read_contents(const std::string& path, uint64_t most) {
    constexpr uint64_t block = uint64_t{1} << 20;
    Input input(path);
    const auto whole = input.remaining();
    Contents contents{{}, 0};
    std::vector<uint8_t> piece(block);
    for (uint64_t got = block; got == block; contents.length += got) {
        if (whole && contents.length >= most) break;
        got = input.read(piece.data(), block);
        const uint64_t kept = std::min(got, most - std::min<uint64_t>(most, contents.length));
        contents.bytes.insert(contents.bytes.end(), piece.data(), piece.data() + kept);
    }
    if (whole) contents.length = *whole;
    return contents;
}

void check_input(const std::string& path) {
    const Input input(path);
}

}  // namespace trv::tool
