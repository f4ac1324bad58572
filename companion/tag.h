// The part of a handle that tells one buffer of a slot from all others the slot ever holds.
//
// A tag is the number of the buffer in its slot, counted from 1, under a permutation of 48 bits
// that the process's key and the slot choose: no two buffers of a slot share a tag, and who knows
// some tags cannot tell others. The permutation is a Feistel network of four rounds over
// SipHash-1-3.
#pragma once

#include <cstdint>

namespace trv::companion {

struct Key {
    uint64_t words[2];
};

// The last buffer that a slot may hold: numbers beyond it would repeat tags.
inline constexpr uint64_t last_life = (uint64_t{1} << 48) - 1;

// The tag of a slot's buffer, never 0. "life" is from 1 to last_life.
uint64_t tag_of(const Key& key, uint32_t slot, uint64_t life);

// Random bytes, other ones in every process.
Key draw_key();

}  // namespace trv::companion
