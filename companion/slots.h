// The buffers of the process: a table of slots that handles point into.
//
// A handle is generation << 32 | slot index. The generation of a slot is odd while a buffer lives
// in it and grows by one at birth and at death, so an old handle never matches again (it would
// after 2^31 buffers in one slot). Queries take no lock: they read the generation, the value and
// the generation again. Everything that makes or ends a buffer holds the table's lock.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace trv::companion {

struct Owner {
    void (*release)(void* context, void* memory) = nullptr;
    void* context = nullptr;
    void* memory = nullptr;
    uint64_t parent = 0;  // a view keeps its parent alive
};

enum class Value : uint8_t {
    width,
    height,
    address,
    stride,
    format,
    method,
    phase,
    present,
    packing_offset
};

inline constexpr size_t value_count = static_cast<size_t>(Value::packing_offset) + 1;

struct Slot {
    std::atomic<uint32_t> generation;
    uint32_t owners;  // under the lock
    uint32_t next_free;
    std::atomic<uint64_t> values[value_count];
    Owner owner;  // under the lock

    std::atomic<uint64_t>& at(Value value) { return values[static_cast<size_t>(value)]; }
};

struct Lock {
    Lock();
    ~Lock();
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
};

// The table. What queries do with it is here, because a conversion asks a dozen of them.
inline constexpr uint32_t chunk_size = 256;
inline constexpr uint32_t chunk_count = 256;
extern std::atomic<Slot*> chunks[chunk_count];

inline uint32_t slot_index(uint64_t handle) {
    return static_cast<uint32_t>(handle);
}

inline uint32_t handle_generation(uint64_t handle) {
    return static_cast<uint32_t>(handle >> 32);
}

inline Slot* slot_at(uint32_t index) {
    if (index >= chunk_size * chunk_count) return nullptr;
    Slot* chunk = chunks[index / chunk_size].load(std::memory_order_acquire);
    return chunk == nullptr ? nullptr : chunk + index % chunk_size;
}

// The slot a live handle names, or null. Without the lock the answer may be stale at once.
inline Slot* find_slot(uint64_t handle) {
    const uint32_t generation = handle_generation(handle);
    Slot* slot = generation % 2 == 0 ? nullptr : slot_at(slot_index(handle));
    if (slot == nullptr || slot->generation.load(std::memory_order_acquire) != generation)
        return nullptr;
    return slot;
}

// The value of a live handle, or that it is not one.
struct Read {
    bool live;
    uint64_t value;
};

inline Read read_value(uint64_t handle, Value value) {
    Slot* slot = find_slot(handle);
    if (slot == nullptr) return {};
    // Acquire keeps the second look at the generation behind the read.
    const uint64_t read = slot->at(value).load(std::memory_order_acquire);
    if (slot->generation.load(std::memory_order_relaxed) != handle_generation(handle)) return {};
    return {true, read};
}

// A slot taken from the free list with all values zero, not yet alive; null when none is left.
Slot* take_slot(const Lock&, uint32_t* index);

// Lets the slot's buffer live and returns its handle.
uint64_t bring_to_life(const Lock&, Slot& slot, uint32_t index);

// Makes every handle of the slot stale and gives the slot back.
void end_life(const Lock&, Slot& slot, uint32_t index);

}  // namespace trv::companion
