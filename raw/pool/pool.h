// Threads that wait for pictures.
#pragma once

#include <cstddef>
#include <cstdint>

struct TRW_Pool;

namespace trv::raw {

inline constexpr uint32_t most_threads = 1024;

// Work in parts that may be made in any order and at the same time.
struct Work {
    // `seat` tells the threads at work on it apart: the calling one has seat 0, and no two have the
    // same one.
    void (*make)(void* context, uint32_t part, uint32_t seat);
    void* context;
    uint32_t parts;
    uint32_t seats;  // most threads that may work on it, at least 1
};

// Makes every part, on the calling thread and on those threads of the pool that are free; a null
// pool has none. When this returns, all that was written is there for the calling thread.
void run(TRW_Pool* pool, const Work& work);

// The calling thread included; 1 for a null pool.
uint32_t threads_of(const TRW_Pool* pool);

struct MemoryBlock;

// Memory for a call, aligned to cache lines. A pool keeps it for later calls; without one it is
// freed.
class LentMemory {
  public:
    // For 0 bytes there is none, and none is missing.
    LentMemory(TRW_Pool* pool, size_t bytes);
    ~LentMemory();
    LentMemory(const LentMemory&) = delete;
    LentMemory& operator=(const LentMemory&) = delete;

    bool is_missing() const { return bytes_ != 0 && block_ == nullptr; }
    uint8_t* data() const;

  private:
    TRW_Pool* pool_;
    size_t bytes_;
    MemoryBlock* block_ = nullptr;
};

}  // namespace trv::raw
