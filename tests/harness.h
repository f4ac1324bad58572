// What the image tests share: memory between guard pages, pictures with painted padding, a printed
// seed, and the levels this machine has.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "image/dispatch/level.h"
#include "tests/any_machine.h"
#include "tests/buffers.h"

namespace test {

// Reproducible randomness: TRVIL_SEED repeats a failed run, TRVIL_ROUNDS multiplies its length.
class Random {
  public:
    explicit Random(uint64_t seed) : state_(seed) {}

    uint64_t bits() {
        uint64_t z = state_ += 0x9E3779B97F4A7C15;
        z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9;
        z = (z ^ z >> 27) * 0x94D049BB133111EB;
        return z ^ z >> 31;
    }
    uint32_t below(uint32_t end) { return static_cast<uint32_t>(bits() % end); }
    uint32_t between(uint32_t first, uint32_t last) { return first + below(last - first + 1); }
    bool one_in(uint32_t n) { return below(n) == 0; }

  private:
    uint64_t state_;
};

inline uint64_t number_from_environment(const char* name, uint64_t otherwise) {
    const char* text = std::getenv(name);
    return text == nullptr ? otherwise : std::strtoull(text, nullptr, 0);
}

inline uint64_t seed() {
    static const uint64_t value = number_from_environment("TRVIL_SEED", 20261122);
    return value;
}

inline unsigned rounds(unsigned usual) {
    return usual * static_cast<unsigned>(number_from_environment("TRVIL_ROUNDS", 1));
}

// `size` bytes with an inaccessible page right in front of them or right after them.
class Guarded {
  public:
    enum class At { front, back };

    Guarded(size_t size, At at) : size_(size) {
        constexpr size_t page = 4096;
        const size_t inside = (size + page - 1) / page * page;
        whole_ = inside + 2 * page;
        void* map = mmap(nullptr, whole_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (map == MAP_FAILED) std::abort();
        map_ = static_cast<uint8_t*>(map);
        if (inside != 0 && mprotect(map_ + page, inside, PROT_READ | PROT_WRITE) != 0) std::abort();
        data_ = map_ + page + (at == At::back ? inside - size : 0);
    }
    ~Guarded() { munmap(map_, whole_); }
    Guarded(const Guarded&) = delete;
    Guarded& operator=(const Guarded&) = delete;

    uint8_t* data() const { return data_; }
    size_t size() const { return size_; }

  private:
    size_t size_, whole_;
    uint8_t *map_, *data_;
};

// A picture's memory: exactly the bytes of its lines, plus `beyond` bytes that a rule may reach
// after the last line. The padding between lines is painted like everything else.
struct Picture {
    Picture(const trv::Format& f, uint32_t w, uint32_t h, uint32_t line_stride, size_t beyond,
            Guarded::At at)
        : format(f),
          width(w),
          height(h),
          stride(line_stride),
          memory(size_t{line_stride} * (h - 1) + trv::line_bytes(f, w) + beyond, at) {}

    void fill(Random& random) {
        for (size_t i = 0; i < memory.size(); ++i)
            memory.data()[i] = static_cast<uint8_t>(random.bits());
    }
    std::vector<uint8_t> bytes() const { return {memory.data(), memory.data() + memory.size()}; }
    void put(const std::vector<uint8_t>& bytes) const {
        std::memcpy(memory.data(), bytes.data(), bytes.size());
    }

    const trv::Format& format;
    uint32_t width, height, stride;
    Guarded memory;
};

inline Buffer wrap(const Picture& p) {
    return wrap(p.format, p.width, p.height, p.memory.data(), p.memory.size(), p.stride);
}

// First difference between what memory holds and what it should hold, by line and byte.
inline ::testing::AssertionResult same_bytes(const Picture& picture,
                                             const std::vector<uint8_t>& expected) {
    const uint8_t* got = picture.memory.data();
    for (size_t i = 0; i < expected.size(); ++i)
        if (got[i] != expected[i])
            return ::testing::AssertionFailure()
                   << "line " << i / picture.stride << " byte " << i % picture.stride << ": got "
                   << int{got[i]} << ", expected " << int{expected[i]};
    return ::testing::AssertionSuccess();
}

// Indices of the levels that this machine runs; those it lacks are named once as not tested.
inline std::vector<unsigned> machine_levels() {
    std::vector<unsigned> list;
    for (unsigned i = 0; i < trv::level_count; ++i) {
        if (i <= trv::best_level())
            list.push_back(i);
        else
            std::printf("level %s is not on this machine: NOT TESTED\n", trv::levels[i].name);
    }
    return list;
}

// Widths that meet every tail of every vector length, now and then a long line.
inline uint32_t any_width(Random& random) {
    return random.one_in(12) ? random.between(131, 700) : random.between(2, 130);
}

// Tight, a little padded, or generously padded; odd strides included.
inline uint32_t any_stride(Random& random, uint64_t line) {
    const uint32_t least = static_cast<uint32_t>(line);
    switch (random.below(3)) {
        case 0:
            return least;
        case 1:
            return least + random.between(1, 9);
        default:
            return least + random.between(10, 150);
    }
}

inline Guarded::At any_side(Random& random) {
    return random.one_in(2) ? Guarded::At::front : Guarded::At::back;
}

}  // namespace test
