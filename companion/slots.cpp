#include "companion/slots.h"

#include <pthread.h>
#include <stdlib.h>

#include "companion/tag.h"

namespace trv::companion {

std::atomic<Slot*> chunks[chunk_count];

namespace {

pthread_mutex_t table_lock = PTHREAD_MUTEX_INITIALIZER;
uint32_t chunks_made = 0;       // under the lock
uint32_t first_free = no_slot;  // under the lock
Key key{};                      // under the lock

void lock_table() {
    pthread_mutex_lock(&table_lock);
}

void unlock_table() {
    pthread_mutex_unlock(&table_lock);
}

// What a slot without a buffer has for its handle: its low bits name the neighbour.
uint64_t no_handle(uint32_t index) {
    return index ^ 1;
}

void start_table() {
    key = draw_key();
    // Without memory for this, the child of a process with threads may find the table locked.
    pthread_atfork(lock_table, unlock_table, unlock_table);
}

// Chunks stay until the process ends, because a query may look at any slot at any time.
bool make_chunk() {
    if (chunks_made == chunk_count) return false;
    auto* chunk = static_cast<Slot*>(calloc(chunk_size, sizeof(Slot)));
    if (chunk == nullptr) return false;
    if (chunks_made == 0) start_table();
    const uint32_t start = chunks_made * chunk_size;
    for (uint32_t i = 0; i < chunk_size; ++i) {
        chunk[i].handle.store(no_handle(start + i), std::memory_order_relaxed);
        chunk[i].next_free = i + 1 < chunk_size ? start + i + 1 : first_free;
    }
    first_free = start;
    chunks[chunks_made++].store(chunk, std::memory_order_release);
    return true;
}

}  // namespace

Lock::Lock() {
    lock_table();
}
Lock::~Lock() {
    unlock_table();
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
    const uint64_t handle = tag_of(key, index, ++slot.lives) << 16 | index;
    slot.handle.store(handle, std::memory_order_release);
    return handle;
}

void end_life(const Lock&, Slot& slot, uint32_t index) {
    slot.handle.store(no_handle(index), std::memory_order_release);
}

void free_slot(const Lock&, Slot& slot, uint32_t index) {
    if (slot.lives == last_life) return;
    slot.next_free = first_free;
    first_free = index;
}

}  // namespace trv::companion
