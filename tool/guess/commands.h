// How a person tries a proposal out.
#pragma once

#include <string>
#include <vector>

#include "tool/guess/proposal.h"

namespace trv::tool::guess {

// The commands that make a picture by a proposal, as a shell takes them.
std::vector<std::string> commands_for(const Dump& dump, const Proposal& proposal);

}  // namespace trv::tool::guess
