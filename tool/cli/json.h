// Answers for programs.
#pragma once

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>
#include <string>

namespace trv::tool {

// Keeps its members in the order in which they were put.
using Json = nlohmann::ordered_json;

void add_json_flag(CLI::App* command, bool* wanted);

// On stdout, on several lines, in ASCII: any other character of a file name is escaped, and bytes
// that are no UTF-8 become replacement characters.
void print_json(const Json& json);

// The same on one line, without its end.
std::string json_line(const Json& json);

}  // namespace trv::tool
