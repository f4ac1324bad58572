// What the processor says of itself beyond its instructions.
#pragma once

#include <cstdint>

namespace trv {

enum class Make : uint8_t { other, amd };

Make processor_make();

// Bytes of the cache that lies before main memory, 0 when the processor does not say.
uint64_t last_cache_bytes();

}  // namespace trv
