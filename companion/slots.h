// The buffers of the process: a table of slots that handles point into.
//
// A handle is tag << 16 | slot index. The tag is another one for every buffer that ever lives in
// the slot (companion/tag.h), and a slot that has used them all up is never taken again, so an old
// handle never matches. Queries take no lock: they compare the slot's handle with theirs, read the
// value and compare again. Everything that makes or ends a buffer holds the table's lock; a fork
// takes it too, so that the child finds the table whole.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace trv::companion {

inline constexpr uint32_t no_slot = UINT32_MAX;

struct Owner {
    void (*release)(void* context, void* memory) = nullptr;
    void* context = nullptr;
    void* memory = nullptr;
    uint32_t parent = no_slot;  // the slot whose memory a view looks into
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
    std::atomic<uint64_t>
        handle;  // of the buffer that lives here, or one that is not looked up here
    std::atomic<uint64_t> values[value_count];
    // From here on under the lock.
    uint64_t lives;   // buffers that lived here
    uint32_t owners;  // of the handle
    uint32_t views;   // that look into the memory, also when the handle has no owner left
    uint32_t next_free;
    Owner owner;

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

static_assert(chunk_size * chunk_count == 1 << 16, "the low 16 bits of a handle are its slot");

inline uint32_t slot_index(uint64_t handle) {
    return static_cast<uint16_t>(handle);
}

inline Slot* slot_at(uint32_t index) {
    Slot* chunk = chunks[index / chunk_size].load(std::memory_order_acquire);
    if (chunk == nullptr) [[unlikely]]
        return nullptr;
    return chunk + index % chunk_size;
}

// The slot a live handle names, or null. Without the lock the answer may be stale at once.
inline Slot* find_slot(uint64_t handle) {
    Slot* slot = slot_at(slot_index(handle));
    if (slot == nullptr || slot->handle.load(std::memory_order_acquire) != handle) return nullptr;
    return slot;
}

// The value of a live handle; false where it is not one, and `value` as it was.
[[gnu::always_inline]] inline bool read_value(uint64_t handle, Value which, uint64_t* value) {
    Slot* slot = find_slot(handle);
    if (slot == nullptr) [[unlikely]]
        return false;
    // Acquire keeps the second look at the handle after the read.
    const uint64_t read = slot->at(which).load(std::memory_order_acquire);
    if (slot->handle.load(std::memory_order_relaxed) != handle) [[unlikely]]
        return false;
    *value = read;
    return true;
}

// A slot taken from the free list with all values zero and one owner, not yet alive; null when none
// is left.
Slot* take_slot(const Lock&, uint32_t* index);

// Lets the slot's buffer live and returns its handle.
uint64_t bring_to_life(const Lock&, Slot& slot, uint32_t index);

// Makes the slot's handle stale.
void end_life(const Lock&, Slot& slot, uint32_t index);

// Gives a slot back whose life has ended, unless it has lived its last.
void free_slot(const Lock&, Slot& slot, uint32_t index);

}  // namespace trv::companion
