// Output that appears whole or not at all: written beside its place under another name, then moved.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "tool/cli/cleanup.h"

namespace trv::tool {

// Throws Failure when the output could not be put there, before anything is done.
void check_target(const std::string& target, bool force);

class Output {
  public:
    // `target` may be "-" for stdout. Without `force` an existing file stays as it is.
    Output(std::string target, bool force);
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    // Where to write, by name.
    const std::string& path() const { return path_; }
    const std::string& target() const { return target_; }

    // Puts what was written in its place.
    void publish();

  private:
    void create_beside();
    void create_in_memory();
    void copy_to_stdout() const;

    std::string target_;
    std::string path_;
    bool force_;
    TemporaryFile file_;
    std::optional<mode_t> replaced_mode_;  // of the file that is there already
    int memory_ = -1;                      // what goes to stdout is collected here
};

}  // namespace trv::tool
