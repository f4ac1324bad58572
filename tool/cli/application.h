// The command line as a whole.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>

namespace trv::tool {

// With all commands and their options.
std::unique_ptr<CLI::App> make_application();

}  // namespace trv::tool
