// How the tool fails: with an exit code and a text of what happened, why, and what to do next.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace trv::tool {

enum class Exit : int {
    done = 0,
    conversion = 1,  // the library or the machine could not do it
    usage = 2,       // the command line makes no sense
    no_route = 3,    // there is no way from this format to that one
    input = 4,       // an input is missing, unreadable or too short
    output = 5       // an output could not be written
};

class Failure : public std::runtime_error {
  public:
    Failure(Exit exit_code, const std::string& what, std::string why, std::string next)
        : std::runtime_error(what),
          code_(exit_code),
          why_(std::move(why)),
          next_(std::move(next)) {}

    Exit code() const { return code_; }
    const std::string& why() const { return why_; }    // may be empty
    const std::string& next() const { return next_; }  // may be empty

  private:
    Exit code_;
    std::string why_;
    std::string next_;
};

// Nobody reads what is written to stdout any more.
struct ReaderGone {};

}  // namespace trv::tool
