#include "companion/tag.h"

#include <sys/auxv.h>
#include <sys/random.h>

namespace trv::companion {
namespace {

constexpr uint32_t half_bits = 24;
constexpr uint32_t half_mask = (1u << half_bits) - 1;

constexpr uint64_t rotate(uint64_t value, unsigned bits) {
    return value << bits | value >> (64 - bits);
}

struct Sip {
    uint64_t v0, v1, v2, v3;

    explicit Sip(const Key& key)
        : v0(key.words[0] ^ 0x736F6D6570736575),
          v1(key.words[1] ^ 0x646F72616E646F6D),
          v2(key.words[0] ^ 0x6C7967656E657261),
          v3(key.words[1] ^ 0x7465646279746573) {}

    void round() {
        v0 += v1, v2 += v3;
        v1 = rotate(v1, 13) ^ v0, v3 = rotate(v3, 16) ^ v2;
        v0 = rotate(v0, 32);
        v2 += v1, v0 += v3;
        v1 = rotate(v1, 17) ^ v2, v3 = rotate(v3, 21) ^ v0;
        v2 = rotate(v2, 32);
    }
    void add(uint64_t word) {
        v3 ^= word;
        round();
        v0 ^= word;
    }
};

// Of one word: as all messages are, its length is not mixed in.
uint64_t hash(const Key& key, uint64_t word) {
    Sip sip(key);
    sip.add(word);
    sip.v2 ^= 0xFF;
    for (int i = 0; i < 3; ++i) sip.round();
    return sip.v0 ^ sip.v1 ^ sip.v2 ^ sip.v3;
}

uint64_t permute(const Key& key, uint32_t slot, uint64_t number) {
    auto left = static_cast<uint32_t>(number >> half_bits);
    uint32_t right = static_cast<uint32_t>(number) & half_mask;
    for (uint64_t round = 0; round < 4; ++round) {
        const uint64_t mixed = hash(key, round << 56 | uint64_t{slot} << half_bits | right);
        const uint32_t next = left ^ (static_cast<uint32_t>(mixed) & half_mask);
        left = right;
        right = next;
    }
    return uint64_t{left} << half_bits | right;
}

}  // namespace

uint64_t tag_of(const Key& key, uint32_t slot, uint64_t life) {
    const uint64_t tag = permute(key, slot, life);
    // One number in 2^48 comes to 0; it takes the place of number 0, which no buffer has.
    return tag != 0 ? tag : permute(key, slot, 0);
}

Key draw_key() {
    Key key{};
    if (getrandom(&key, sizeof key, GRND_NONBLOCK) == sizeof key) return key;
    // Early at boot, or where the call is not allowed: what the kernel gave the process at its
    // start.
    const void* given = reinterpret_cast<const void*>(getauxval(AT_RANDOM));
    if (given != nullptr) __builtin_memcpy(&key, given, sizeof key);
    return key;
}

}  // namespace trv::companion
