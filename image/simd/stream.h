// Stores that leave the caches to others.
#pragma once

#include <cstddef>
#include <cstdint>

namespace trv {

// Copies memory apart from its source so that whole cache lines of it go to main memory at once.
// Other threads are promised to see it, in order, only after `order_stores`.
void copy_past_caches(uint8_t* to, const uint8_t* from, size_t count);

void order_stores();

}  // namespace trv
