// The completion for bash, made from the commands and options.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace trv::tool::pages {

std::string completion(CLI::App* app);

}  // namespace trv::tool::pages
