// The routes that keep the format.
#pragma once

#include "image/direct/row.h"
#include "image/format/decision.h"

namespace trv {

// Lines of the source. The destination was found large enough, or does not need to be.
void copy_lines(const Job& job, const Decision& decision, LineRange lines,
                const direct::Memory& memory);

}  // namespace trv
