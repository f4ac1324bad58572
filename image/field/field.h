// The four field methods. Nothing here asks the buffer library.
#pragma once

#include <cstdint>

#include "image/field/walk.h"
#include "image/format/format.h"

namespace trv::field {

enum class Method : uint32_t { duplicate, average, bilinear, median, count };

// The methods that look at neighbouring samples, and so at the format.
constexpr bool reads_format(Method method) {
    return method == Method::bilinear || method == Method::median;
}

// Where a sample's neighbour lies in a format of samples of one byte, by its whole code; false for
// all others.
bool find_neighbour(uint32_t format, Neighbour* neighbour);

// `neighbour` counts only for the methods that read the format.
void make_frame(Method method, Neighbour neighbour, const Field& field);

}  // namespace trv::field
