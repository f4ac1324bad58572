#include "tool/naming.h"

#include <sys/stat.h>

#include <filesystem>
#include <map>
#include <optional>
#include <set>

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

// What file a name leads to, however it is spelled; nothing for what does not exist.
using FileId = std::pair<uint64_t, uint64_t>;
std::optional<FileId> file_id(const std::string& path) {
    struct stat status {};
    if (path == "-" || stat(path.c_str(), &status) != 0) return std::nullopt;
    return FileId{status.st_dev, status.st_ino};
}

void refuse_inputs(const std::set<FileId>& inputs, const std::string& output) {
    const auto id = file_id(output);
    if (id && inputs.count(*id) != 0)
        throw Failure(Exit::usage, text(output, " is an input"),
                      "the dump would be lost, and --force does not change that",
                      "give the output another name");
}

}  // namespace

std::string output_template(const std::string& output, const std::string& kind) {
    std::error_code not_there;  // a name that cannot be is refused when it is opened
    if (output.empty() || output == "-" ||
        (output.back() != '/' && !fs::is_directory(output, not_there)))
        return output;
    return (fs::path(output) / text(placeholder, ".", kind.empty() ? "png" : lower(kind))).string();
}

std::vector<std::string> name_outputs(const std::vector<std::string>& inputs,
                                      const std::string& named) {
    std::vector<std::string> outputs;
    std::map<std::string, std::string> input_of;
    std::set<FileId> files;
    for (const std::string& input : inputs)
        if (const auto id = file_id(input)) files.insert(*id);
    for (const std::string& input : inputs) {
        outputs.push_back(fill(named, input));
        const std::string key = fs::path(outputs.back()).lexically_normal().string();
        const auto [place, is_new] = input_of.emplace(key, input);
        if (!is_new) refuse_collision(outputs.back(), place->second, input);
        refuse_inputs(files, outputs.back());
    }
    return outputs;
}

}  // namespace trv::tool
