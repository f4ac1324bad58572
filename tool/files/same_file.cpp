#include "tool/files/same_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "tool/cli/error.h"
#include "tool/cli/text.h"
#include "tool/files/output.h"

namespace trv::tool {
namespace {

namespace fs = std::filesystem;

bool look_at(const std::string& path, int stream, struct stat* status) {
    return (path == "-" ? fstat(stream, status) : stat(path.c_str(), status)) == 0;
}

std::optional<FileId> id_of(const std::string& path, int stream) {
    struct stat status {};
    if (!look_at(path, stream, &status)) return std::nullopt;
    if (!S_ISREG(status.st_mode) && !S_ISBLK(status.st_mode)) return std::nullopt;
    return FileId{status.st_dev, status.st_ino, ""};
}

std::string called(const std::string& path, const char* stream) {
    return path == "-" ? stream : path;
}

void refuse_input(const std::string& output, const std::string& input) {
    throw Failure(Exit::usage, text(called(output, "stdout"), " is an input"),
                  text("it is the same file as ", called(input, "stdin"),
                       ", which would be lost, and --force does not change that"),
                  "give the output another name");
}

void refuse_output(const std::string& one, const std::string& other) {
    throw Failure(
        Exit::usage,
        text(called(one, "stdout"), " and ", called(other, "stdout"), " are the same file"),
        "one would replace the other", "give each output a file of its own");
}

}  // namespace

std::optional<FileId> id_of_output(const std::string& path) {
    struct stat status {};
    if (look_at(path, STDOUT_FILENO, &status)) return id_of(path, STDOUT_FILENO);
    const fs::path folder = fs::path(path).parent_path();
    if (stat(folder.empty() ? "." : folder.c_str(), &status) != 0) return std::nullopt;
    return FileId{status.st_dev, status.st_ino, fs::path(path).filename().string()};
}

ReadFiles::ReadFiles(const std::vector<std::string>& inputs) {
    for (const std::string& input : inputs)
        if (const auto id = id_of(input, STDIN_FILENO)) files_.emplace(*id, input);
}

void ReadFiles::check(const std::string& output) const {
    const auto id = id_of_output(output);
    if (!id) return;
    if (const auto input = files_.find(*id); input != files_.end())
        refuse_input(output, input->second);
}

void check_files(const std::vector<std::string>& inputs, const std::vector<std::string>& outputs,
                 bool force) {
    const ReadFiles read(inputs);
    std::map<FileId, std::string> written;
    std::vector<std::string> all = outputs;
    if (std::find(all.begin(), all.end(), "-") == all.end()) all.emplace_back("-");
    for (const std::string& output : all) {
        read.check(output);
        const auto id = id_of_output(output);
        if (!id) continue;
        if (const auto [other, is_new] = written.emplace(*id, output); !is_new)
            refuse_output(other->second, output);
    }
    for (const std::string& output : outputs) check_target(output, force);
}

}  // namespace trv::tool
