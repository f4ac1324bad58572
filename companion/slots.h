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

// The slot a live handle names, or null. Without the lock the answer may be stale at once.
Slot* find_slot(uint64_t handle);

// Value of a live handle; false for a stale one.
bool read_value(uint64_t handle, Value value, uint64_t* out);

// A slot taken from the free list with all values zero, not yet alive; null when none is left.
Slot* take_slot(const Lock&, uint32_t* index);

// Lets the slot's buffer live and returns its handle.
uint64_t bring_to_life(const Lock&, Slot& slot, uint32_t index);

// Makes every handle of the slot stale and gives the slot back.
void end_life(const Lock&, Slot& slot, uint32_t index);

inline uint32_t slot_index(uint64_t handle) {
    return static_cast<uint32_t>(handle);
}

}  // namespace trv::companion
