#include "companion/slots.h"

#include <pthread.h>
#include <stdlib.h>

namespace trv::companion {

std::atomic<Slot*> chunks[chunk_count];

namespace {

constexpr uint32_t no_slot = UINT32_MAX;

pthread_mutex_t table_lock = PTHREAD_MUTEX_INITIALIZER;
uint32_t chunks_made = 0;       // under the lock
uint32_t first_free = no_slot;  // under the lock

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
