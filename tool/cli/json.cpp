#include "tool/cli/json.h"

#include <iostream>

namespace trv::tool {

void add_json_flag(CLI::App* command, bool* wanted) {
    command->add_flag("--json", *wanted, "Print JSON for programs instead of text");
}

void print_json(const Json& json) {
    std::cout << json.dump(2, ' ', true, Json::error_handler_t::replace) << '\n';
}

std::string json_line(const Json& json) {
    return json.dump(-1, ' ', true, Json::error_handler_t::replace);
}

}  // namespace trv::tool
