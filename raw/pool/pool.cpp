#include "raw/pool/pool.h"

#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <new>

#include "image/simd/pause.h"
#include "trvil/raw.h"

namespace trv::raw {
namespace {

// Work that a caller waits for. It lives on the caller's stack, so it is gone when the last thread
// has left it.
struct Task {
    const Work& work;
    std::atomic<uint32_t> next{0};     // the first part that nobody has taken
    uint32_t taken_seats = 1;          // guarded, like all that follows, by the pool's lock
    std::atomic<uint32_t> helpers{0};  // that are at work on it; read without the lock, too
    bool is_open = false;              // listed, so that workers find it
    Task* following = nullptr;
    pthread_cond_t left = PTHREAD_COND_INITIALIZER;  // no helper is at work any more

    explicit Task(const Work& w) : work(w) {}

    bool has_seat() const { return taken_seats < work.seats; }

    void make_parts(uint32_t seat) {
        for (uint32_t part = next.fetch_add(1, std::memory_order_relaxed); part < work.parts;
             part = next.fetch_add(1, std::memory_order_relaxed))
            work.make(work.context, part, seat);
    }
};

// Waits awake for what other threads are about to do, for as long as it takes to put a thread to
// sleep and to wake it. On a virtual machine that is long, as an idle processor is given away.
template <typename Came>
void stay_awake_until(Came came) {
    constexpr long longest = 50'000;  // ns
    constexpr unsigned looks = 32;    // for one at the clock
    timespec start{}, now{};
    clock_gettime(CLOCK_MONOTONIC, &start);
    do {
        for (unsigned i = 0; i < looks; ++i) {
            if (came()) return;
            pause_processor();
        }
        clock_gettime(CLOCK_MONOTONIC, &now);
    } while ((now.tv_sec - start.tv_sec) * 1'000'000'000 + now.tv_nsec - start.tv_nsec < longest);
}

class Lock {
  public:
    explicit Lock(pthread_mutex_t* mutex) : mutex_(mutex) { pthread_mutex_lock(mutex_); }
    ~Lock() { pthread_mutex_unlock(mutex_); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

  private:
    pthread_mutex_t* mutex_;
};

}  // namespace

inline constexpr size_t cache_line = 64;

// What a block of memory begins with; a cache line on, its bytes.
struct MemoryBlock {
    size_t bytes;
    MemoryBlock* following;
};

}  // namespace trv::raw

using trv::raw::Lock;
using trv::raw::MemoryBlock;
using trv::raw::stay_awake_until;
using trv::raw::Task;

struct TRW_Pool {
    // Held for moments only: who waits for it looks a few times before it sleeps.
    pthread_mutex_t mutex = PTHREAD_ADAPTIVE_MUTEX_INITIALIZER_NP;
    pthread_cond_t wanted = PTHREAD_COND_INITIALIZER;  // a task was listed, or all is to end
    pthread_cond_t quiet = PTHREAD_COND_INITIALIZER;   // no call is under way
    Task* first = nullptr;
    std::atomic<uint32_t> listed{0};  // tasks so far, and the end; read without the lock, too
    bool is_awake = false;            // whether threads wait awake: each has a processor
    MemoryBlock* kept = nullptr;      // that no call is using
    uint32_t calls = 0;
    bool ends = false;
    pid_t process;  // the one that has the workers
    uint32_t workers = 0;
    pthread_t* worker;

    // In a child made by fork there are no workers, and the lock may be held by a thread that is
    // not there.
    bool is_of_this_process() const { return process == getpid(); }

    void list(Task* task) {
        const Lock lock(&mutex);
        ++calls;
        Task** end = &first;
        while (*end != nullptr) end = &(*end)->following;
        *end = task;
        task->is_open = true;
        listed.fetch_add(1, std::memory_order_relaxed);
    }

    // Every worker that may find a seat is woken, and no more.
    void wake(uint32_t threads) {
        if (threads >= workers) {
            pthread_cond_broadcast(&wanted);
            return;
        }
        for (; threads != 0; --threads) pthread_cond_signal(&wanted);
    }

    void close(Task* task) {
        if (!task->is_open) return;
        Task** at = &first;
        while (*at != task) at = &(*at)->following;
        *at = task->following;
        task->is_open = false;
    }

    void wait_for(Task* task) {
        const Lock lock(&mutex);
        close(task);
        if (task->helpers != 0) wait_awake([&] { return task->helpers == 0; });
        while (task->helpers != 0) pthread_cond_wait(&task->left, &mutex);
        end_call();
    }

    Task* find_task() const {
        Task* task = first;
        while (task != nullptr && !task->has_seat()) task = task->following;
        return task;
    }

    // With the lock held, before and after. A task without parts left is closed first, so nobody
    // takes two seats of one.
    void help(Task* task) {
        const uint32_t seat = task->taken_seats++;
        ++task->helpers;
        pthread_mutex_unlock(&mutex);
        task->make_parts(seat);
        pthread_mutex_lock(&mutex);
        close(task);
        if (--task->helpers == 0) pthread_cond_signal(&task->left);
    }

    // With the lock held, before and after.
    template <typename Came>
    void wait_awake(Came came) {
        if (!is_awake) return;
        pthread_mutex_unlock(&mutex);
        stay_awake_until(came);
        pthread_mutex_lock(&mutex);
    }

    void end_call() {
        if (--calls == 0) pthread_cond_signal(&quiet);
    }

    // For a call that begins: the first kept block of at least so many bytes; else any, which is
    // too small; null for none.
    MemoryBlock* take_block(size_t bytes) {
        const Lock lock(&mutex);
        ++calls;
        MemoryBlock** at = &kept;
        while (*at != nullptr && (*at)->bytes < bytes) at = &(*at)->following;
        if (*at == nullptr) at = &kept;
        MemoryBlock* block = *at;
        if (block != nullptr) *at = block->following;
        return block;
    }

    // Of a call that ends; null for none.
    void keep_block(MemoryBlock* block) {
        const Lock lock(&mutex);
        if (block != nullptr) {
            block->following = kept;
            kept = block;
        }
        end_call();
    }

    void serve() {
        const Lock lock(&mutex);
        while (!ends) {
            if (Task* task = find_task())
                help(task);
            else
                wait_for_task();
        }
    }

    // With the lock held, before and after. Pictures often follow one another.
    void wait_for_task() {
        const uint32_t known = listed.load(std::memory_order_relaxed);
        wait_awake([&] { return listed.load(std::memory_order_relaxed) != known; });
        if (listed.load(std::memory_order_relaxed) == known) pthread_cond_wait(&wanted, &mutex);
    }

    void end() {
        {
            const Lock lock(&mutex);
            while (calls != 0) pthread_cond_wait(&quiet, &mutex);
            ends = true;
            listed.fetch_add(1, std::memory_order_relaxed);
            pthread_cond_broadcast(&wanted);
        }
        for (uint32_t i = 0; i < workers; ++i) pthread_join(worker[i], nullptr);
        pthread_cond_destroy(&quiet);
        pthread_cond_destroy(&wanted);
        pthread_mutex_destroy(&mutex);
    }
};

namespace trv::raw {
namespace {

uint32_t processors() {
    cpu_set_t mine;
    long count = 0;
    if (sched_getaffinity(0, sizeof mine, &mine) == 0)
        count = CPU_COUNT(&mine);
    else  // a machine of more processors than the set has
        count = sysconf(_SC_NPROCESSORS_ONLN);
    return count < 1 ? 1 : count > most_threads ? most_threads : static_cast<uint32_t>(count);
}

void* serve(void* pool) {
    static_cast<TRW_Pool*>(pool)->serve();
    return nullptr;
}

// A worker takes no signal: a handler of the program's runs on threads of the program's.
bool start_workers(TRW_Pool* pool, uint32_t count) {
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    while (pool->workers < count &&
           pthread_create(&pool->worker[pool->workers], nullptr, serve, pool) == 0)
        ++pool->workers;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return pool->workers == count;
}

// A child made by fork leaves kept blocks alone: another thread may have been at their list.
void release(TRW_Pool* pool) {
    if (pool->is_of_this_process()) {
        pool->end();
        while (MemoryBlock* block = pool->kept) {
            pool->kept = block->following;
            free(block);
        }
    }
    free(pool);
}

bool keeps_memory(const TRW_Pool* pool) {
    return pool != nullptr && pool->is_of_this_process();
}

MemoryBlock* allocate_block(size_t bytes) {
    const size_t whole = (bytes + cache_line - 1) / cache_line * cache_line;
    void* memory = aligned_alloc(cache_line, cache_line + whole);
    if (memory == nullptr) return nullptr;
    auto* block = static_cast<MemoryBlock*>(memory);
    *block = {whole, nullptr};
    return block;
}

// The pool and its list of workers in one block.
TRW_Pool* allocate(uint32_t workers) {
    void* memory = malloc(sizeof(TRW_Pool) + workers * sizeof(pthread_t));
    if (memory == nullptr) return nullptr;
    return new (memory)
        TRW_Pool{.is_awake = workers < processors(),
                 .process = getpid(),
                 .worker = reinterpret_cast<pthread_t*>(static_cast<TRW_Pool*>(memory) + 1)};
}

}  // namespace

uint32_t threads_of(const TRW_Pool* pool) {
    return pool == nullptr ? 1 : pool->workers + 1;
}

LentMemory::LentMemory(TRW_Pool* pool, size_t bytes)
    : pool_(bytes != 0 && keeps_memory(pool) ? pool : nullptr), bytes_(bytes) {
    if (bytes == 0) return;
    if (pool_ != nullptr) block_ = pool_->take_block(bytes);
    if (block_ != nullptr && block_->bytes >= bytes) return;
    free(block_);
    block_ = allocate_block(bytes);
}

LentMemory::~LentMemory() {
    if (pool_ == nullptr)
        free(block_);
    else
        pool_->keep_block(block_);
}

uint8_t* LentMemory::data() const {
    return block_ == nullptr ? nullptr : reinterpret_cast<uint8_t*>(block_) + cache_line;
}

void run(TRW_Pool* pool, const Work& work) {
    Task task(work);
    const bool alone = pool == nullptr || work.seats <= 1 || work.parts <= 1 ||
                       pool->workers == 0 || !pool->is_of_this_process();
    if (alone) return task.make_parts(0);
    pool->list(&task);
    pool->wake((work.seats < work.parts ? work.seats : work.parts) - 1);
    task.make_parts(0);
    pool->wait_for(&task);
}

}  // namespace trv::raw

uint32_t TRW_PoolCreate(TRW_Pool** pool, uint32_t threads) {
    using namespace trv::raw;
    if (pool == nullptr || threads > most_threads) return TRV_STATUS_PARAMETER;
    const uint32_t workers = (threads == 0 ? processors() : threads) - 1;
    TRW_Pool* made = allocate(workers);
    if (made == nullptr) return TRV_STATUS_MEMORY;
    if (!start_workers(made, workers)) {
        release(made);
        return TRV_STATUS_SYSTEM;
    }
    *pool = made;
    return TRV_STATUS_OK;
}

uint32_t TRW_PoolThreadsGet(const TRW_Pool* pool, uint32_t* threads) {
    if (pool == nullptr || threads == nullptr) return TRV_STATUS_PARAMETER;
    *threads = trv::raw::threads_of(pool);
    return TRV_STATUS_OK;
}

uint32_t TRW_PoolDestroy(TRW_Pool** pool) {
    if (pool == nullptr || *pool == nullptr) return TRV_STATUS_PARAMETER;
    trv::raw::release(*pool);
    *pool = nullptr;
    return TRV_STATUS_OK;
}
