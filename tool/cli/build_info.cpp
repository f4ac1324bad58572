#include "tool/cli/build_info.h"

#include <dlfcn.h>

#include <climits>
#include <cstdlib>

#include "image/simd/levels.h"
#include "trvil/tbl.h"
#include "trvil/til.h"

namespace trv::tool {
namespace {

template <typename Function>
std::string file_of(Function* function) {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(function), &info) == 0) return "?";
    char path[PATH_MAX];
    return realpath(info.dli_fname, path) != nullptr ? path : info.dli_fname;
}

}  // namespace

BuildInfo build_info() {
    BuildInfo info{TRVIL_VERSION,
                   TRVIL_COMPILER,
                   TRVIL_BUILD_TYPE,
                   level_names[highest_level()],
                   {},
                   file_of(TIL_Convert),
                   file_of(TBS_BufferWrap)};
    for (unsigned level = 0; level <= highest_level(); ++level)
        info.levels.emplace_back(level_names[level]);
    return info;
}

}  // namespace trv::tool
