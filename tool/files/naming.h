// Which output belongs to which input.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace trv::tool {

// For an output that is a folder the files in it, named after their inputs and their kind, png
// where none is said; any other output as it is.
std::string output_template(const std::string& output, const std::string& kind);

// Whether each frame has a file of its own, and whether each input has.
bool is_numbered(const std::string& output);
bool is_named(const std::string& output);

// "{n}" in the template stands for the index of a frame, in six digits or more.
std::string numbered(const std::string& output, uint64_t index);

// One output per input: "{name}" in the template stands for the input's file name without its end.
// Throws Failure when two inputs have the same output.
std::vector<std::string> name_outputs(const std::vector<std::string>& inputs,
                                      const std::string& named);

}  // namespace trv::tool
