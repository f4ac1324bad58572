#include "tool/files/output.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "tool/cli/error.h"
#include "tool/cli/text.h"

namespace trv::tool {
namespace {

namespace fs = std::filesystem;

Failure not_written(const std::string& target, const std::string& why, const std::string& next) {
    return {Exit::output, text("cannot write ", target == "-" ? "to stdout" : target), why, next};
}

Failure system_failure(const std::string& target) {
    return not_written(target, std::strerror(errno), "check the folder, its permissions and space");
}

Failure exists_already(const std::string& target) {
    return not_written(target, "it exists already", "use another name, or --force to replace it");
}

fs::path folder_of(const std::string& target) {
    const fs::path folder = fs::path(target).parent_path();
    return folder.empty() ? fs::path(".") : folder;
}

Failure dangling(const std::string& link) {
    return not_written(link, "it is a link to a file that is not there",
                       "remove the link, or name the file itself");
}

std::string goal_of_link(const std::string& link) {
    std::error_code failed;
    const fs::path goal = fs::canonical(link, failed);
    if (!failed) return goal.string();
    throw dangling(link);
}

bool copy_all(int from, int to) {
    char block[65536];
    ssize_t got = 0;
    while ((got = read(from, block, sizeof block)) > 0)
        for (ssize_t done = 0; done < got;) {
            const ssize_t put = write(to, block + done, static_cast<size_t>(got - done));
            if (put < 0 && errno == EINTR) continue;
            if (put < 0) return false;
            done += put;
        }
    return got == 0;
}

}  // namespace

void check_target(const std::string& target, bool force) {
    if (target == "-") {
        if (isatty(STDOUT_FILENO) == 0) return;
        throw Failure(Exit::usage, "will not write a picture to a terminal", "",
                      "send stdout into a file or a pipe, or give -o FILE");
    }
    struct stat status {};
    if (stat(target.c_str(), &status) != 0) {
        // A name that is too long, links in a circle, a folder that may not be looked into.
        if (errno != ENOENT && errno != ENOTDIR) throw system_failure(target);
        if (fs::is_symlink(target)) throw dangling(target);
        if (fs::is_directory(folder_of(target))) return;
        throw not_written(target, text("there is no folder ", folder_of(target).string()),
                          "make the folder first");
    }
    if (!S_ISREG(status.st_mode))
        throw not_written(target, "it is not an ordinary file",
                          "use -o - with --as KIND and send stdout there");
    if (!force) throw exists_already(target);
}

Output::Output(std::string target, bool force) : target_(std::move(target)), force_(force) {
    check_target(target_, force_);
    // What a link points to is replaced, not the link.
    if (fs::is_symlink(target_)) target_ = goal_of_link(target_);
    if (target_ == "-")
        create_in_memory();
    else
        create_beside();
}

Output::~Output() {
    if (memory_ >= 0) close(memory_);
}

// A replacement is never less private than what it replaces.
void Output::create_beside() {
    struct stat old {};
    replaced_mode_ =
        stat(target_.c_str(), &old) == 0 ? std::optional(old.st_mode & 0777) : std::nullopt;
    if (!file_.create(folder_of(target_).string(), replaced_mode_ ? 0600 : 0666))
        throw system_failure(target_);
    // Opened by its name, it would be there again if a signal removed it just before.
    path_ = text("/proc/self/fd/", file_.fd());
    if (access(path_.c_str(), W_OK) != 0) path_ = file_.path();
}

void Output::create_in_memory() {
    memory_ = memfd_create("trvil", MFD_CLOEXEC);
    if (memory_ < 0) throw system_failure(target_);
    path_ = text("/proc/self/fd/", memory_);
}

void Output::copy_to_stdout() const {
    if (lseek(memory_, 0, SEEK_SET) != 0 || !copy_all(memory_, STDOUT_FILENO))
        throw system_failure(target_);
}

void Output::publish() {
    if (memory_ >= 0) return copy_to_stdout();
    if (replaced_mode_ && fchmod(file_.fd(), *replaced_mode_) != 0) throw system_failure(target_);
    if (file_.move(target_, force_)) return;
    if (errno == EEXIST) throw exists_already(target_);
    throw system_failure(target_);
}

}  // namespace trv::tool
