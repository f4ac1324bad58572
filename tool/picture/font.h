// Letters for labels in pictures: capitals, digits and a few signs; small letters look like
// capitals, anything else is blank.
#pragma once

#include <cstdint>

namespace trv::tool::font {

inline constexpr uint32_t width = 5, height = 7;

bool is_ink(char letter, uint32_t column, uint32_t row);

}  // namespace trv::tool::font
