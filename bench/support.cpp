// What the support library adds to the system calls it wraps. The goal for the mutex pair is 1.5
// times the bare pair of the same run.
#include <benchmark/benchmark.h>

#include "trvil/obl.h"

namespace {

// A second thread: while there is only one, the C library locks without atomic instructions, and
// neither figure would mean anything to a program with threads.
struct AnotherThread {
    pthread_t handle = 0;
    pthread_mutex_t gate = PTHREAD_MUTEX_INITIALIZER;

    AnotherThread() {
        pthread_mutex_lock(&gate);
        pthread_create(&handle, nullptr, &Wait, &gate);
    }
    ~AnotherThread() {
        pthread_mutex_unlock(&gate);
        pthread_join(handle, nullptr);
    }
    static void* Wait(void* gate) {
        pthread_mutex_lock(static_cast<pthread_mutex_t*>(gate));
        pthread_mutex_unlock(static_cast<pthread_mutex_t*>(gate));
        return nullptr;
    }
};

void BarePair(benchmark::State& state) {
    const AnotherThread other;
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    for ([[maybe_unused]] auto _ : state) {
        pthread_mutex_lock(&mutex);
        pthread_mutex_unlock(&mutex);
    }
}
BENCHMARK(BarePair);

void NamedPair(benchmark::State& state) {
    const AnotherThread other;
    OBL_Mutex* mutex = nullptr;
    OBL_MutexCreate(&mutex, "bench", nullptr, nullptr);
    for ([[maybe_unused]] auto _ : state) {
        OBL_MutexAcquire(mutex, static_cast<uint32_t>(state.range(0)), nullptr);
        OBL_MutexRelease(mutex, nullptr);
    }
    OBL_MutexDestroy(&mutex, nullptr);
}
// Without limit, which is what the goal is about; then one try; then a deadline, which reads the
// clock.
BENCHMARK(NamedPair)->Arg(UINT32_MAX)->Arg(0)->Arg(100);

void ErrorReport(benchmark::State& state) {
    OBL_ErrInfo* info = nullptr;
    OBL_ErrInfoCreate(&info, nullptr, nullptr);
    for ([[maybe_unused]] auto _ : state)
        OBL_SetErrInfo(info, "bench", 15, "Failed to Measure [%s]", "bench");
    OBL_ErrInfoDestroy(&info);
}
BENCHMARK(ErrorReport);

}  // namespace
