// Which files a command reads and writes, by what they are and not by how they are spelled.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace trv::tool {

struct FileId {
    uint64_t device, inode;
    std::string name;  // of a file that is not there yet, whose folder the numbers are
    auto operator<=>(const FileId&) const = default;
};

// "-" is stdout. Nothing for what cannot be written to and read again: pipes, terminals.
std::optional<FileId> id_of_output(const std::string& path);

// The value of an option that may be left out.
inline std::vector<std::string> as_list(const std::string& path) {
    return path.empty() ? std::vector<std::string>{} : std::vector<std::string>{path};
}

// Files that are read, and must not be written.
class ReadFiles {
  public:
    explicit ReadFiles(const std::vector<std::string>& inputs);
    // Throws Failure when the output is one of them.
    void check(const std::string& output) const;

  private:
    std::map<FileId, std::string> files_;
};

// Throws Failure, before anything is done, when an output is an input or another output, or cannot
// be put where it shall be. "-" is stdin or stdout; stdout counts as an output in any case.
void check_files(const std::vector<std::string>& inputs, const std::vector<std::string>& outputs,
                 bool force);

}  // namespace trv::tool
