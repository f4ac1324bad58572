// The manual page, made from the commands and options.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace trv::tool::pages {

std::string manual(CLI::App* app);

}  // namespace trv::tool::pages
