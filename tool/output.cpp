#include "tool/output.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "tool/cleanup.h"
#include "tool/error.h"
#include "tool/text.h"

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

std::string name_beside(const std::string& target, unsigned attempt) {
    return (folder_of(target) / text(".trvil-", getpid(), "-", attempt, ".tmp")).string();
}

// Moves without replacing. Old file systems cannot, there a link does the same.
bool move_to_new(const std::string& from, const std::string& to) {
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
    if (errno != EINVAL && errno != ENOSYS) return false;
    return link(from.c_str(), to.c_str()) == 0 && unlink(from.c_str()) == 0;
}

// A replacement is as private as what it replaces.
bool move_over(const std::string& from, const std::string& to) {
    struct stat old {};
    if (stat(to.c_str(), &old) == 0 && chmod(from.c_str(), old.st_mode & 0777) != 0) return false;
    return rename(from.c_str(), to.c_str()) == 0;
}

std::string goal_of_link(const std::string& link) {
    std::error_code failed;
    const fs::path goal = fs::canonical(link, failed);
    if (!failed) return goal.string();
    throw not_written(link, "it is a link to a file that is not there",
                      "remove the link, or name the file itself");
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
    if (memory_ < 0 && !published_) unlink(path_.c_str());
    forget_file(slot_);
}

void Output::create_beside() {
    int fd = -1;
    for (unsigned attempt = 0; fd < 0; ++attempt) {
        path_ = name_beside(target_, attempt);
        fd = open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0 && errno != EEXIST) throw system_failure(target_);
    }
    close(fd);
    slot_ = remember_file(path_.c_str());
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
    if (!(force_ ? move_over(path_, target_) : move_to_new(path_, target_))) {
        if (errno == EEXIST) throw exists_already(target_);
        throw system_failure(target_);
    }
    published_ = true;
}

}  // namespace trv::tool
