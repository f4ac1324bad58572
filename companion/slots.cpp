#include "companion/slots.h"

#include <pthread.h>
#include <stdlib.h>

namespace trv::companion {
namespace {

constexpr uint32_t chunk_size = 256;
constexpr uint32_t chunk_count = 256;
constexpr uint32_t no_slot = UINT32_MAX;

pthread_mutex_t table_lock = PTHREAD_MUTEX_INITIALIZER;
std::atomic<Slot*> chunks[chunk_count];
uint32_t chunks_made = 0;       // under the lock
uint32_t first_free = no_slot;  // under the lock

Slot* slot_at(uint32_t index) {
    if (index >= chunk_size * chunk_count) return nullptr;
    Slot* chunk = chunks[index / chunk_size].load(std::memory_order_acquire);
    return chunk == nullptr ? nullptr : chunk + index % chunk_size;
}

uint32_t handle_generation(uint64_t handle) {
    return static_cast<uint32_t>(handle >> 32);
}

// Chunks stay until the process ends, because a query may look at any slot at any time.
bool make_chunk() {
    if (chunks_made == chunk_count) return false;
    auto* chunk = static_cast<Slot*>(calloc(chunk_size, sizeof(Slot)));
    if (chunk == nullptr) return false;
    const uint32_t start = chunks_made * chunk_size;
    for (uint32_t i = 0; i < chunk_size; ++i)
        chunk[i].next_free = i + 1 < chunk_size ? start + i + 1 : first_free;
    first_free = start;
    chunks[chunks_made++].store(chunk, std::memory_order_release);
    return true;
}

}  // namespace

Lock::Lock() {
    pthread_mutex_lock(&table_lock);
}
Lock::~Lock() {
    pthread_mutex_unlock(&table_lock);
}

Slot* find_slot(uint64_t handle) {
    const uint32_t generation = handle_generation(handle);
    Slot* slot = generation % 2 == 0 ? nullptr : slot_at(slot_index(handle));
    if (slot == nullptr || slot->generation.load(std::memory_order_acquire) != generation)
        return nullptr;
    return slot;
}

bool read_value(uint64_t handle, Value value, uint64_t* out) {
    Slot* slot = find_slot(handle);
    if (slot == nullptr) return false;
    // Acquire keeps the second look at the generation behind the read.
    const uint64_t read = slot->at(value).load(std::memory_order_acquire);
    if (slot->generation.load(std::memory_order_relaxed) != handle_generation(handle)) return false;
    *out = read;
    return true;
}

Slot* take_slot(const Lock&, uint32_t* index) {
    if (first_free == no_slot && !make_chunk()) return nullptr;
    *index = first_free;
    Slot* slot = slot_at(first_free);
    first_free = slot->next_free;
    for (auto& value : slot->values) value.store(0, std::memory_order_release);
    slot->owner = {};
    slot->owners = 1;
    return slot;
}

uint64_t bring_to_life(const Lock&, Slot& slot, uint32_t index) {
    const uint32_t generation = slot.generation.load(std::memory_order_relaxed) + 1;
    slot.generation.store(generation, std::memory_order_release);
    return static_cast<uint64_t>(generation) << 32 | index;
}

void end_life(const Lock&, Slot& slot, uint32_t index) {
    slot.generation.fetch_add(1, std::memory_order_acq_rel);
    slot.next_free = first_free;
    first_free = index;
}

}  // namespace trv::companion
