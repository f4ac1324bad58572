// One dump becomes one picture, or the dumps of a recording one each.
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
    uint64_t skip;  // bytes before the picture
    Demosaic how;
    Path path;
    Kind kind;
    Tuning tuning;
    bool force;
    bool deepen = false;                                   // colour of a dump, to 16 bits
    std::shared_ptr<const Developer> developer = nullptr;  // null: converted without developing
};

// Throws Failure when there is no such conversion, whatever the input holds. Developing demosaics
// by every method, whatever it goes to.
void check_conversion(const Conversion& conversion, bool is_developed);

// The picture after all steps of a path, by the threads of a pool or without one.
Frame convert(Frame frame, const Path& path, const Demosaic& how, TRW_Pool* pool = nullptr);

// What the first picture of a recording settles for all of them: gains that are measured, or the
// picture would flicker.
struct Settled {
    bool done = false;
    std::optional<Gains> gains;
    Developer::Recipe recipe;
    std::optional<DngColours> colours;
};

// Makes the picture of a dump, whose samples it may change; `name` is for notes. A picture that is
// there already lends its memory. Where nothing is settled yet it notes what there is to note of
// the samples, and settles; after that threads may share it.
void make_picture(const Conversion& conversion, Frame* dump, const std::string& name,
                  Settled* settled, TRW_Pool* pool, std::optional<Frame>* picture);

// The same for a DNG: the mosaic, and in `settled` what is said beside it.
void make_mosaic(const Conversion& conversion, Frame* dump, const std::string& name,
                 Settled* settled, TRW_Pool* pool, std::optional<Frame>* picture);

// What Developer::gains says of an input.
Gains gains_of(const Conversion& conversion, const std::string& input, TRW_Pool* pool);

// Where the sum of the dump is wanted, it is CRC-32C.
void run_conversion(const Conversion& conversion, const std::string& input,
                    const std::string& output, Progress* progress, TRW_Pool* pool,
                    uint32_t* dump_sum = nullptr);

}  // namespace trv::tool
