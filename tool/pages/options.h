// The commands and options of the tool, as its pages list them.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace trv::tool::pages {

inline std::vector<CLI::App*> commands_of(CLI::App* app) {
    return app->get_subcommands(std::function<bool(CLI::App*)>());
}

// Options and flags, positional arguments last.
inline std::vector<CLI::Option*> options_of(CLI::App* app) {
    std::vector<CLI::Option*> all = app->get_options(), result;
    for (CLI::Option* option : all)
        if (!option->get_positional()) result.push_back(option);
    for (CLI::Option* option : all)
        if (option->get_positional()) result.push_back(option);
    return result;
}

// "-s" and "--size".
inline std::vector<std::string> names_of(const CLI::Option* option) {
    std::vector<std::string> names;
    for (const std::string& name : option->get_snames()) names.push_back("-" + name);
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    return names;
}

inline bool takes_value(const CLI::Option* option) {
    return option->get_items_expected_max() > 0;
}

}  // namespace trv::tool::pages
