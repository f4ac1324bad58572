#include "tool/files/naming.h"

#include <filesystem>
#include <map>

#include "tool/cli/error.h"
#include "tool/cli/text.h"
#include "tool/files/same_file.h"

namespace trv::tool {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view placeholder = "{name}", number_place = "{n}";

std::string stem(const std::string& input) {
    return input == "-" ? "stdin" : fs::path(input).stem().string();
}

std::string fill(std::string name, std::string_view place, const std::string& replacement) {
    for (size_t at = 0; (at = name.find(place, at)) != std::string::npos; at += replacement.size())
        name.replace(at, place.size(), replacement);
    return name;
}

void refuse_collision(const std::string& output, const std::string& first,
                      const std::string& second) {
    throw Failure(Exit::usage, text("two inputs would be written to ", output),
                  text("they are ", first, " and ", second),
                  "put {name} into the output's name; inputs of one name go to different folders");
}

}  // namespace

std::string output_template(const std::string& output, const std::string& kind) {
    std::error_code not_there;  // a name that cannot be is refused when it is opened
    if (output.empty() || output == "-" ||
        (output.back() != '/' && !fs::is_directory(output, not_there)))
        return output;
    return (fs::path(output) / text(placeholder, ".", kind.empty() ? "png" : lower(kind))).string();
}

bool is_numbered(const std::string& output) {
    return output.find(number_place) != std::string::npos;
}

bool is_named(const std::string& output) {
    return output.find(placeholder) != std::string::npos;
}

std::string numbered(const std::string& output, uint64_t index) {
    std::string digits = text(index);
    constexpr size_t least_digits = 6;
    if (digits.size() < least_digits) digits.insert(0, least_digits - digits.size(), '0');
    return fill(output, number_place, digits);
}

std::vector<std::string> name_outputs(const std::vector<std::string>& inputs,
                                      const std::string& named) {
    std::vector<std::string> outputs;
    std::map<FileId, std::string> input_of;
    for (const std::string& input : inputs) {
        outputs.push_back(fill(named, placeholder, stem(input)));
        const FileId id = id_of_output(outputs.back()).value_or(FileId{0, 0, outputs.back()});
        const auto [place, is_new] = input_of.emplace(id, input);
        if (!is_new) refuse_collision(outputs.back(), place->second, input);
    }
    return outputs;
}

}  // namespace trv::tool
