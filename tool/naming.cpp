#include "tool/naming.h"

#include <filesystem>
#include <map>
#include <system_error>

#include "tool/error.h"
#include "tool/text.h"

namespace trv::tool {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view placeholder = "{name}";

std::string stem(const std::string& input) {
    return input == "-" ? "stdin" : fs::path(input).stem().string();
}

std::string fill(std::string name, const std::string& input) {
    const std::string replacement = stem(input);
    for (size_t at = 0; (at = name.find(placeholder, at)) != std::string::npos;
         at += replacement.size())
        name.replace(at, placeholder.size(), replacement);
    return name;
}

void refuse_collision(const std::string& output, const std::string& first,
                      const std::string& second) {
    throw Failure(Exit::usage, text("two inputs would be written to ", output),
                  text("they are ", first, " and ", second),
                  "put {name} into the output's name; inputs of one name go to different folders");
}

void refuse_input(const std::string& input, const std::string& output) {
    std::error_code none;
    if (input != "-" && output != "-" && fs::equivalent(input, output, none))
        throw Failure(Exit::usage, text(output, " is an input"),
                      "the dump would be lost, and --force does not change that",
                      "give the output another name");
}

}  // namespace

std::vector<std::string> name_outputs(const std::vector<std::string>& inputs,
                                      const std::string& output_template) {
    std::vector<std::string> outputs;
    std::map<std::string, std::string> input_of;
    for (const std::string& input : inputs) {
        outputs.push_back(fill(output_template, input));
        const std::string key = fs::path(outputs.back()).lexically_normal().string();
        const auto [place, is_new] = input_of.emplace(key, input);
        if (!is_new) refuse_collision(outputs.back(), place->second, input);
        for (const std::string& other : inputs) refuse_input(other, outputs.back());
    }
    return outputs;
}

}  // namespace trv::tool
