// One dump becomes one picture.
#pragma once

#include <memory>
#include <string>

#include "tool/cli/report.h"
#include "tool/commands/path.h"
#include "tool/develop/developer.h"
#include "tool/files/kind.h"
#include "tool/picture/balance.h"
#include "trvil/raw.h"

namespace trv::tool {

struct Conversion {
    Geometry source;
    uint64_t skip;
    Demosaic how;
    Path path;
    Kind kind;
    Tuning tuning;
    bool force;
    bool deepen = false;                                   // colour of a dump, to 16 bits
    std::shared_ptr<const Developer> developer = nullptr;  // null: converted without developing
};

// Throws Failure when there is no such conversion, whatever the input holds.
void check_conversion(const Conversion& conversion);

// The picture after all steps of a path, by the threads of a pool or without one.
Frame convert(Frame frame, const Path& path, const Demosaic& how, TRW_Pool* pool = nullptr);

// What Developer::gains says of an input.
Gains gains_of(const Conversion& conversion, const std::string& input, TRW_Pool* pool);

void run_conversion(const Conversion& conversion, const std::string& input,
                    const std::string& output, Progress* progress, TRW_Pool* pool);

}  // namespace trv::tool
