// What the exported functions run on, chosen once when the library is loaded: the inner loops of an
// instruction-set level and the memory policy of the machine.
//
// A level owns nothing but the inner loops of a line. Where lines begin and end, which of them are
// the first and the last, and what happens at their ends is scalar and exists once
// (image/bayer/frame.h, image/field/walk.h, image/direct).
#pragma once

#include "image/bayer/span.h"
#include "image/direct/row.h"
#include "image/dispatch/machine.h"
#include "image/field/line.h"
#include "image/simd/levels.h"

namespace trv {

struct Level {
    const char* name;
    const bayer::Spans* bayer;
    const direct::Rows* direct;
    const field::Rows* field;
    const MemoryPolicy* memory;
};

// In the order of their names, with the policy of machine 0. Every level gives the same bytes.
extern const Level levels[level_count];

// The same inner loops with the policy of another machine.
constexpr Level on_machine(Level level, const Machine& machine) {
    level.memory = &machine.memory;
    return level;
}

// Index of the highest level that this processor and its operating system run.
unsigned best_level();

// What the exported functions use: levels[best_level()] on this_machine().
const Level& current_level();

}  // namespace trv
