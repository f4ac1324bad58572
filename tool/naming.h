// Which output belongs to which input.
#pragma once

#include <string>
#include <vector>

namespace trv::tool {

// One output per input: "{name}" in the template stands for the input's file name without its end.
// Throws Failure when outputs would collide with each other or with an input.
std::vector<std::string> name_outputs(const std::vector<std::string>& inputs,
                                      const std::string& output_template);

}  // namespace trv::tool
