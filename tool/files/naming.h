// Which output belongs to which input.
#pragma once

#include <string>
#include <vector>

namespace trv::tool {

// For an output that is a folder the files in it, named after their inputs and their kind, png
// where none is said; any other output as it is.
std::string output_template(const std::string& output, const std::string& kind);

// One output per input: "{name}" in the template stands for the input's file name without its end.
// Throws Failure when two inputs have the same output.
std::vector<std::string> name_outputs(const std::vector<std::string>& inputs,
                                      const std::string& named);

}  // namespace trv::tool
