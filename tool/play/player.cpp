#include "tool/play/player.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "tool/cli/cleanup.h"
#include "tool/cli/error.h"
#include "tool/cli/text.h"

namespace trv::tool {
namespace {

constexpr int pipe_bytes = 1 << 20;  // what every user may have
constexpr const char* other_ways =
    "write a contact sheet by -o sheet.png, or a page for browsers by -o page.html";

using Words = std::vector<std::string>;

Words words_of(const std::string& program, const std::string& title, const Geometry& g,
               const FrameRate& rate) {
    if (program == "ffplay")
        return {program,
                "-hide_banner",
                "-loglevel",
                "error",
                "-nostats",
                "-window_title",
                title,
                "-f",
                "rawvideo",
                "-pixel_format",
                "rgb24",
                "-video_size",
                text(g.width, 'x', g.height),
                "-framerate",
                text(rate.frames, '/', rate.seconds),
                "-i",
                "pipe:0"};
    return {program,
            "--no-config",
            "--msg-level=all=error",
            "--keep-open=yes",
            "--force-window=yes",
            text("--title=", title),
            "--demuxer=rawvideo",
            text("--demuxer-rawvideo-w=", g.width),
            text("--demuxer-rawvideo-h=", g.height),
            "--demuxer-rawvideo-mp-format=rgb24",
            text("--demuxer-rawvideo-fps=", static_cast<double>(rate.frames) / rate.seconds),
            "-"};
}

bool is_set(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

// Starts a program with a descriptor as its stdin, and what it says on stderr. Returns what errno
// tells, 0 where it runs.
int spawn(Words words, int input, pid_t* process) {
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&files, STDERR_FILENO, STDOUT_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t ignored_here;
    sigemptyset(&ignored_here);
    sigaddset(&ignored_here, SIGPIPE);
    sigaddset(&ignored_here, SIGXFSZ);
    posix_spawnattr_setsigdefault(&attributes, &ignored_here);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    const int error =
        posix_spawnp(process, arguments[0], &files, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&files);
    return error;
}

// Until one of two descriptors is ready; whether it is the first.
bool await(int fd, short event, int stop_fd) {
    pollfd waiting[] = {{fd, event, 0}, {stop_fd, POLLIN, 0}};
    while (poll(waiting, 2, -1) < 0 && errno == EINTR) continue;
    return waiting[1].revents == 0;
}

}  // namespace

Player::Player(std::string program, std::string title, FrameRate rate)
    : program_(std::move(program)), title_(std::move(title)), rate_(rate) {
    if (!is_set("DISPLAY") && !is_set("WAYLAND_DISPLAY"))
        throw Failure(Exit::conversion, "there is no display to play on",
                      "neither DISPLAY nor WAYLAND_DISPLAY is set", other_ways);
}

Player::~Player() {
    close_pipe();
    if (process_ < 0) return;
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
}

void Player::close_pipe() {
    if (pipe_ >= 0) close(pipe_);
    pipe_ = -1;
}

bool Player::start(const std::string& program, const Geometry& picture, int pipe) {
    const int error = spawn(words_of(program, title_, picture, rate_), pipe, &process_);
    if (error == 0) {
        program_ = program;
        return true;
    }
    process_ = -1;
    if (error == ENOENT) return false;
    throw Failure(Exit::conversion, text("cannot start ", program), std::strerror(error),
                  other_ways);
}

void Player::start(const Geometry& picture) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw Failure(Exit::conversion, "cannot make a pipe to a player", std::strerror(errno), "");
    pipe_ = ends[1];
    fcntl(pipe_, F_SETPIPE_SZ, pipe_bytes);
    fcntl(pipe_, F_SETFL, O_NONBLOCK);  // a player may be paused when a signal comes
    const Words programs = program_.empty() ? Words{"ffplay", "mpv"} : Words{program_};
    bool started = false;
    for (const std::string& program : programs)
        started = started || start(program, picture, ends[0]);
    close(ends[0]);
    if (!started)
        throw Failure(
            Exit::conversion, "there is no player",
            text(list(programs, " and "), programs.size() > 1 ? " are" : " is", " not installed"),
            text("install ffmpeg or mpv; or ", other_ways));
}

void Player::write_all(const uint8_t* bytes, uint64_t count) {
    while (count != 0) {
        const ssize_t put = write(pipe_, bytes, count);
        if (put < 0 && errno == EPIPE) throw PlayerGone();
        if (put < 0 && errno == EAGAIN && !await(pipe_, POLLOUT, stop_signal_fd()))
            throw PlayerGone();
        if (put < 0) continue;
        bytes += put;
        count -= static_cast<uint64_t>(put);
    }
}

void Player::put(const StreamFrame& frame) {
    const Geometry& g = frame.picture->geometry();
    if (process_ < 0) start(g);
    write_all(frame.picture->line(0), g.bytes());
}

void Player::wait() {
    close_pipe();
    const auto ended = static_cast<int>(syscall(SYS_pidfd_open, process_, 0));
    if (ended >= 0) {
        const bool is_over = await(ended, POLLIN, stop_signal_fd());
        close(ended);
        if (!is_over) return;
    }
    int status = 0;
    while (waitpid(process_, &status, 0) < 0 && errno == EINTR) continue;
    process_ = -1;
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return;
    const std::string how = WIFEXITED(status) ? text("exit code ", WEXITSTATUS(status))
                                              : text("signal ", WTERMSIG(status));
    throw Failure(Exit::conversion, text(program_, " ended by an error"), how, other_ways);
}

}  // namespace trv::tool
