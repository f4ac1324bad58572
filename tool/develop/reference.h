// Pictures that are known beside a dump: of darkness, of even light, and of pixels not to be
// believed.
#pragma once

#include <string>
#include <vector>

#include "tool/picture/frame.h"
#include "trvil/raw.h"

namespace trv::tool {

// A picture of whole samples, from a dump like `source` or from a picture file of grey. Throws
// Failure where its size or its depth is another than the source's.
Frame read_reference(const std::string& path, const Geometry& source, uint64_t skip);

// From a list, "x y" on each line and comments from # on, or a grey picture in which they are not
// 0. Throws Failure when one lies outside.
std::vector<TRW_Defect> read_defects(const std::string& path, const Geometry& source);

}  // namespace trv::tool
