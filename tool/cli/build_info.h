// What this build is, and what of it this machine uses.
#pragma once

#include <string>
#include <vector>

namespace trv::tool {

struct BuildInfo {
    std::string version, compiler, build_type;
    std::string level;                // of instruction sets, as the library chooses it
    std::vector<std::string> levels;  // all that this machine runs
    std::string library, companion;   // the files that are loaded
};

BuildInfo build_info();

}  // namespace trv::tool
