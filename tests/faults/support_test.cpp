// Every system call of the support library and the operating-system layer, failing once.
#include <stdlib.h>

#include <thread>

#include "tests/faults/scenario.h"
#include "trvil/obl_drv.h"

namespace test {
namespace {

void* block;
char* text;
OBL_ErrInfo* info;
OBL_Mutex* mutex;
OBL_DRV_SpinLock spin;
OBL_DRV_Semaphore semaphore;
OBL_DRV_Thread thread;
OBL_DRV_Timer timer;
OBL_Mutex os_mutex;

template <class Block>
uint32_t null_unless_ok(uint32_t status, Block* const& pointer) {
    return (pointer == nullptr) == (status != TRV_STATUS_OK) ? status : output_is_wrong;
}

void new_semaphore() {
    semaphore = {.szName = "s", .sSemaphore = {}, .nInitialCount = 1};
    OBL_DRV_SemaphoreCreate(&semaphore, nullptr);
}

void new_thread() {
    std::thread([] {}).join();  // the C library keeps the memory of one for the next
    thread = {};
    thread.pfnStart = [](void*) -> void* { return nullptr; };
}

void new_timer() {
    timer = {};
    timer.nDelayMs = 3000000;
}

// 100 seconds of waiting would not be noticed by a status, so what is held is free.
const Scenario support[] = {
    {"OBL_MemoryAlloc",
     FAULT_MEMORY,
     [] { return null_unless_ok(OBL_MemoryAlloc(&block, 9), block); },
     {{"malloc", 14}},
     1,
     [] {},
     [] { free(block); }},
    {"OBL_StructAlloc",
     FAULT_MEMORY,
     [] { return null_unless_ok(OBL_StructAlloc(&block, 9), block); },
     {{"malloc", 14}},
     1,
     [] {},
     [] { free(block); }},
    {"OBL_strnclone",
     FAULT_MEMORY,
     [] { return null_unless_ok(OBL_strnclone(&text, 2, "abc"), text); },
     {{"malloc", 14}},
     1,
     [] { text = nullptr; },
     [] { free(text); }},
    // Memory missing for the record counts as success; a record without its mutex is the caller's.
    {"OBL_ErrInfoCreate",
     FAULT_MEMORY | FAULT_SYSTEM,
     [] { return OBL_ErrInfoCreate(&info, nullptr, nullptr); },
     {{"malloc#1", 0},
      {"malloc#2", 14, 1},
      {"pthread_mutex_init", 15, 1},
      {"pthread_mutex_trylock", 0, 2},
      {"pthread_mutex_unlock", 0, 2},
      {"gettimeofday", 0, 2},
      {"nanosleep", 0, 2}},
     2,
     [] { info = nullptr; },
     [] {
         if (info != nullptr) OBL_ErrInfoDestroy(&info);
     }},
    {"OBL_MutexCreate",
     FAULT_MEMORY | FAULT_SYSTEM,
     [] { return null_unless_ok(OBL_MutexCreate(&mutex, "m", "d", nullptr), mutex); },
     {{"malloc", 14}, {"pthread_mutex_init", 15}},
     1,
     [] { mutex = nullptr; },
     [] {
         if (mutex != nullptr) OBL_MutexDestroy(&mutex, nullptr);
     }},
    // Whatever happens to a report, the status of what was reported stays.
    {"reporting",
     FAULT_MEMORY | FAULT_SYSTEM,
     [] { return OBL_MutexRelease(nullptr, info) - 8; },
     {{"pthread_mutex_trylock", 0},
      {"pthread_mutex_unlock", 0},
      {"gettimeofday", 0},
      {"nanosleep", 0}},
     0,
     [] { OBL_ErrInfoCreate(&info, nullptr, nullptr); },
     [] { OBL_ErrInfoDestroy(&info); }},
    {"OBL_MutexAcquire and Release",
     FAULT_SYSTEM,
     [] {
         const uint32_t status = OBL_MutexAcquire(mutex, UINT32_MAX, nullptr);
         return status == 0 ? OBL_MutexRelease(mutex, nullptr) : status;
     },
     {{"pthread_mutex_lock", 15}, {"pthread_mutex_unlock", 15}},
     0,
     [] {
         mutex = nullptr;
         OBL_MutexCreate(&mutex, "m", "d", nullptr);
     },
     [] {
         pthread_mutex_unlock(&mutex->sOsMutex);
         OBL_MutexDestroy(&mutex, nullptr);
     }},
    {"OBL_MutexDestroy",
     FAULT_MEMORY | FAULT_SYSTEM,
     [] { return OBL_MutexDestroy(&mutex, nullptr); },
     {{"pthread_mutex_trylock", 8}, {"pthread_mutex_unlock", 8}, {"pthread_mutex_destroy", 15, -1}},
     -1,
     [] {
         mutex = nullptr;
         OBL_MutexCreate(&mutex, "m", "d", nullptr);
     },
     [] { free(mutex); }},
    {"operating-system mutex",
     FAULT_SYSTEM,
     [] {
         uint32_t first = OBL_DRV_MutexCreate(&os_mutex, nullptr);
         for (const int32_t timeout : {-1, 0, 1000000}) {
             if (first == 0) first = OBL_DRV_MutexAcquire(&os_mutex, timeout, nullptr);
             if (first == 0) first = OBL_DRV_MutexRelease(&os_mutex, nullptr);
         }
         return first == 0 ? OBL_DRV_MutexDestroy(&os_mutex, nullptr) : first;
     },
     {{"pthread_mutex_init", 15},
      {"pthread_mutex_lock", 15},
      {"pthread_mutex_trylock#1", 15},
      {"pthread_mutex_trylock#2", 0},
      {"nanosleep", 0},
      {"gettimeofday", 0},
      {"pthread_mutex_unlock", 15},
      {"pthread_mutex_destroy", 15}},
     0,
     [] { os_mutex = {}; }},
    {"spin lock",
     FAULT_SYSTEM,
     [] {
         uint32_t first = OBL_DRV_SpinLockCreate(&spin, nullptr);
         if (first == 0) first = OBL_DRV_SpinLockAcquire(&spin, nullptr);
         if (first == 0) first = OBL_DRV_SpinLockRelease(&spin, nullptr);
         return first == 0 ? OBL_DRV_SpinLockDestroy(&spin, nullptr) : first;
     },
     {{"pthread_mutex_init", 15},
      {"pthread_mutex_lock", 15},
      {"pthread_mutex_unlock", 15},
      {"pthread_mutex_destroy", 15}},
     0,
     [] { spin = {}; }},
    {"OBL_DRV_SemaphoreCreate",
     FAULT_SYSTEM,
     [] { return OBL_DRV_SemaphoreCreate(&semaphore, nullptr); },
     {{"sem_init", 15}},
     0,
     [] { semaphore = {}; }},
    {"OBL_DRV_SemaphoreSignal",
     FAULT_SYSTEM,
     [] { return OBL_DRV_SemaphoreSignal(&semaphore, 3, nullptr); },
     {{"sem_post", 15}},
     0,
     new_semaphore},
    {"OBL_DRV_SemaphoreWaitWithTimeout -1",
     FAULT_SYSTEM,
     [] { return OBL_DRV_SemaphoreWaitWithTimeout(&semaphore, -1, nullptr); },
     {{"sem_wait", 15}},
     0,
     new_semaphore},
    {"OBL_DRV_SemaphoreWaitWithTimeout 0",
     FAULT_SYSTEM,
     [] { return OBL_DRV_SemaphoreWaitWithTimeout(&semaphore, 0, nullptr); },
     {{"sem_trywait", 15}},
     0,
     new_semaphore},
    // Polling goes on over a failed try, a failed clock reads as 0, and a failed sleep is none.
    {"OBL_DRV_SemaphoreWaitWithTimeout 1000000",
     FAULT_SYSTEM,
     [] { return OBL_DRV_SemaphoreWaitWithTimeout(&semaphore, 1000000, nullptr); },
     {{"gettimeofday", 0}, {"sem_trywait", 0}, {"nanosleep", 0}},
     0,
     new_semaphore},
    {"OBL_DRV_SemaphoreDestroy",
     FAULT_SYSTEM,
     [] { return OBL_DRV_SemaphoreDestroy(&semaphore, nullptr); },
     {{"sem_destroy", 15}},
     0,
     new_semaphore},
    {"threads",
     FAULT_SYSTEM,
     [] {
         const uint32_t status = OBL_DRV_ThreadCreate(&thread, nullptr);
         return status == 0 ? OBL_DRV_ThreadDestroy(&thread, nullptr) : status;
     },
     {{"pthread_create#1", 0}, {"pthread_create#2", 15}, {"pthread_join", 0}},
     0,
     new_thread,
     [] {
         if (thread.hThread != 0) pthread_join(thread.hThread, nullptr);
     }},
    {"OBL_DRV_TimerStart",
     FAULT_SYSTEM,
     [] { return OBL_DRV_TimerStart(&timer, nullptr); },
     {{"sigaction", 15}, {"timer_create", 15}, {"timer_settime", 15}},
     0,
     new_timer,
     [] {
         if (timer.hTimer != nullptr) timer_delete(timer.hTimer);
     }},
    {"OBL_DRV_TimerStop",
     FAULT_SYSTEM,
     [] { return OBL_DRV_TimerStop(&timer, nullptr); },
     {{"timer_delete", 15}},
     0,
     [] {
         new_timer();
         OBL_DRV_TimerStart(&timer, nullptr);
     }},
    {"OBL_DRV_GetTimeNowNs",
     FAULT_SYSTEM,
     [] {
         uint64_t ns = 0;
         const uint32_t status = OBL_DRV_GetTimeNowNs(&ns);
         return (ns == 0) == (status != 0) ? status : output_is_wrong;
     },
     {{"clock_gettime", 15}}},
    {"OBL_DRV_GetTimeNowMs",
     FAULT_SYSTEM,
     [] {
         uint32_t ms = 0;
         return OBL_DRV_GetTimeNowMs(&ms);
     },
     {{"gettimeofday", 0}}},
    {"OBL_DRV_GetCurrentThreadPriority",
     FAULT_SYSTEM,
     [] {
         int32_t priority = 0;
         return OBL_DRV_GetCurrentThreadPriority(&priority);
     },
     {{"pthread_getschedparam", 26}}},
};

INSTANTIATE_TEST_SUITE_P(Support, EveryCall, testing::ValuesIn(support), name_of);

}  // namespace
}  // namespace test
