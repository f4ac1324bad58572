// One call at one geometry: at every level, on two backgrounds, against what should be there.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <bitset>
#include <cstring>
#include <vector>

#include "tests/calls/clean_call.h"
#include "tests/geometry/arena.h"
#include "tests/harness.h"

namespace geometry {

using test::Random;

// Geometries per call; TRVIL_GEOMETRIES makes it more or fewer.
inline unsigned geometries() {
    static const auto value =
        static_cast<unsigned>(test::number_from_environment("TRVIL_GEOMETRIES", 1000));
    return value;
}

// Widths that meet every tail of every vector, mostly of one or two vectors.
inline uint32_t any_width(Random& random, uint32_t least) {
    const uint32_t kind = random.below(32);
    if (kind == 0) return random.between(least, 300);
    return random.between(least, kind < 8 ? 140 : 40);
}

enum class Pattern { random, zero, ones, ramp, checker, one_hot, high_bits, extremes, count };

inline void paint(uint8_t* to, size_t size, Pattern pattern, Random& random) {
    const size_t hot = random.below(static_cast<uint32_t>(size));
    for (size_t i = 0; i < size; ++i) {
        const uint8_t any = static_cast<uint8_t>(random.bits());
        switch (pattern) {
            case Pattern::zero:
                to[i] = 0;
                break;
            case Pattern::ones:
                to[i] = 0xFF;
                break;
            case Pattern::ramp:
                to[i] = static_cast<uint8_t>(i);
                break;
            case Pattern::checker:
                to[i] = i % 2 == 0 ? 0x55 : 0xAA;
                break;
            case Pattern::one_hot:
                to[i] = i == hot ? 0xFF : 0;
                break;
            case Pattern::high_bits:
                to[i] = any | 0xC0;
                break;
            case Pattern::extremes:
                to[i] = any % 2 == 0 ? 0 : 0xFF;
                break;
            default:
                to[i] = any;
        }
    }
}

// Where the source and the destination of the next geometry lie: against a guard page, or at a pair
// of addresses modulo 64, of which one after the other is met.
class Places {
  public:
    Places() : source_(room), destination_(room), backgrounds_(2 * room) {
        Random random(test::seed());
        for (size_t i = 0; i < room; ++i) {
            backgrounds_[i] = static_cast<uint8_t>(random.bits());
            backgrounds_[room + i] = static_cast<uint8_t>(~backgrounds_[i]);
        }
    }

    void choose(size_t source_size, size_t destination_size, Random& random) {
        const uint32_t kind = random.below(3);
        if (kind == 0) {
            source = source_.at_front();
            destination = destination_.at_front();
        } else if (kind == 1) {
            source = source_.at_back(source_size);
            destination = destination_.at_back(destination_size);
        } else {
            const size_t pair = next_pair_++ % 4096;
            source = source_.at_offset(source_size, pair / 64);
            destination = destination_.at_offset(destination_size, pair % 64);
        }
        met_.set(address_pair());
        size = destination_size;
        window = std::max(destination_.begin(), destination - 64);
        window_size = static_cast<size_t>(
            std::min(destination_.end(), destination + destination_size + 64) - window);
    }
    bool met_all() const { return met_.all(); }
    const uint8_t* background(unsigned which) const { return backgrounds_.data() + which * room; }

    uint8_t *source = nullptr, *destination = nullptr;
    uint8_t* window = nullptr;  // the destination and up to 64 bytes around it
    size_t size = 0, window_size = 0;

  private:
    static constexpr size_t room = 65536;

    size_t address_pair() const {
        return reinterpret_cast<uintptr_t>(source) % 64 * 64 +
               reinterpret_cast<uintptr_t>(destination) % 64;
    }

    Arena source_, destination_;
    std::vector<uint8_t> backgrounds_;
    std::bitset<4096> met_;
    size_t next_pair_ = 0;
};

inline ::testing::AssertionResult same(const Places& p, const std::vector<uint8_t>& expected,
                                       unsigned level) {
    if (std::memcmp(p.window, expected.data(), p.window_size) == 0)
        return ::testing::AssertionSuccess();
    size_t i = 0;
    while (p.window[i] == expected[i]) ++i;
    return ::testing::AssertionFailure()
           << "level " << trv::levels[level].name << " byte " << p.window + i - p.destination
           << " of " << p.size << ": got " << int{p.window[i]} << ", expected " << int{expected[i]};
}

// What `call` left behind in the registers joins its result: null or what is unclean.
template <typename Call>
uint32_t call_cleanly(const Call& call, const trv::Level& level, const char** fault) {
    const auto run = +[](const Call* body, const trv::Level* at) { return (*body)(*at); };
    const uint64_t arguments[10] = {reinterpret_cast<uintptr_t>(&call),
                                    reinterpret_cast<uintptr_t>(&level)};
    return static_cast<uint32_t>(clean_call(reinterpret_cast<AnyFunction>(run), arguments, fault));
}

// `expect(picture)` writes over a background what the rule writes; `call(level)` lets a level do it
// in `p.destination`.
template <typename Expect, typename Call>
::testing::AssertionResult check(const Places& p, const Expect& expect, const Call& call) {
    std::vector<uint8_t> expected(p.window_size);
    for (unsigned which = 0; which < 2; ++which) {
        const uint8_t* background = p.background(which);
        std::memcpy(expected.data(), background, p.window_size);
        expect(expected.data() + (p.destination - p.window));
        for (unsigned level = 0; level <= trv::best_level(); ++level) {
            std::memcpy(p.window, background, p.window_size);
            const char* fault = nullptr;
            const uint32_t status = call_cleanly(call, trv::levels[level], &fault);
            if (status != 0 || fault != nullptr)
                return ::testing::AssertionFailure()
                       << "level " << trv::levels[level].name << " status " << status << " "
                       << (fault == nullptr ? "" : fault);
            const ::testing::AssertionResult result = same(p, expected, level);
            if (!result) return result;
        }
    }
    return ::testing::AssertionSuccess();
}

inline test::Buffer wrap(const trv::Format& format, uint32_t width, uint32_t height,
                         uint32_t stride, uint8_t* memory, uint32_t packing_offset = 0) {
    return test::wrap(format, width, height, memory, uint64_t{stride} * height + 4096, stride,
                      packing_offset);
}

// Every pair of addresses modulo 64, once enough geometries were drawn to meet them all.
inline void expect_all_offsets(const Places& places, uint64_t drawn) {
    if (drawn < 4 * 4096) return;
    EXPECT_TRUE(places.met_all());
}

}  // namespace geometry
