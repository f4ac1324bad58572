// Everything at once, for the thread checkers: no wrapped calls, a few seconds, exact sums.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <deque>
#include <functional>
#include <string>
#include <utility>

#include "trvil/obl_drv.h"

namespace {

// Threads of the library's own making.
struct Threads {
    std::deque<std::pair<OBL_DRV_Thread, std::function<void()>>> all;

    void Start(const std::function<void()>& body) {
        auto& [thread, kept] = all.emplace_back(OBL_DRV_Thread{}, body);
        thread.pvArg = &kept;
        thread.pfnStart = [](void* argument) -> void* {
            (*static_cast<std::function<void()>*>(argument))();
            return nullptr;
        };
        EXPECT_EQ(OBL_DRV_ThreadCreate(&thread, nullptr), 0u);
    }
    ~Threads() {
        for (auto& [thread, kept] : all) OBL_DRV_ThreadDestroy(&thread, nullptr);
    }
};

OBL_ErrInfo* shared;
std::atomic<int> handled, logged, expired;
thread_local bool nested;

// The one place where texts are read that another thread may be writing; see tsan.supp.
__attribute__((noinline)) size_t ReadUnlockedText(const char* text) {
    size_t length = 0;
    while (length < OBL_TEXT_BYTES && text[length] != '\0') ++length;
    return length;
}

void Handle(const char* function, uint32_t, const char* message) {
    EXPECT_TRUE(ReadUnlockedText(function) < 512 && ReadUnlockedText(message) < 512);
    ++handled;
    if (nested) return;
    nested = true;
    OBL_SetErrInfo(shared, "worker0", 0, "by worker%u", 0u);
    nested = false;
}

void Report(uint32_t id) {
    const std::string name = "worker" + std::to_string(id);
    for (int i = 0; i < 300; ++i) OBL_SetErrInfo(shared, name.c_str(), id, "by %s", name.c_str());
}

struct Contended {
    OBL_Mutex* mutex = nullptr;
    int under_lock = 0;
    std::atomic<int> acquired;

    void Add(uint32_t timeout) {
        for (int i = 0; i < 200; ++i) {
            const uint32_t status = OBL_MutexAcquire(mutex, timeout, shared);
            EXPECT_TRUE(status == 0 || status == 0x8000) << status;
            if (status != 0) continue;
            ++under_lock;
            ++acquired;
            EXPECT_EQ(OBL_MutexRelease(mutex, shared), 0u);
        }
    }
};

// A ring of numbers between producers and consumers.
struct Ring {
    OBL_DRV_Semaphore free = {.szName = "", .sSemaphore = {}, .nInitialCount = 8}, filled = {};
    OBL_DRV_SpinLock lock = {};
    int values[8] = {};
    unsigned head = 0, tail = 0;
    std::atomic<int> sum;

    void Step(OBL_DRV_Semaphore* from, OBL_DRV_Semaphore* to, const std::function<void()>& move) {
        while (OBL_DRV_SemaphoreWaitWithTimeout(from, 5, nullptr) != 0) {
        }
        OBL_DRV_SpinLockAcquire(&lock, nullptr);
        move();
        OBL_DRV_SpinLockRelease(&lock, nullptr);
        OBL_DRV_SemaphoreSignal(to, 1, nullptr);
    }
    void Produce() {
        for (int i = 1; i <= 1000; ++i) Step(&free, &filled, [&] { values[head++ % 8] = i; });
    }
    void Consume() {
        for (int i = 1; i <= 1000; ++i) Step(&filled, &free, [&] { sum += values[tail++ % 8]; });
    }
};

void RunTimers(OBL_DRV_Timer& timer) {
    for (int i = 1; i <= 50; ++i) {
        EXPECT_EQ(OBL_DRV_TimerStart(&timer, shared), 0u);
        for (int wait = 0; expired < i && wait < 20000; ++wait) usleep(500);
        EXPECT_EQ(OBL_DRV_TimerStop(&timer, shared), 0u);
    }
}

TEST(Stress, AllOfItAtOnce) {
    Contended contended;
    Ring ring;
    OBL_DRV_Timer timer = {};
    timer.nDelayMs = 1;
    timer.pvContext = &timer;
    timer.pfnCallback = [](int32_t, void*) { ++expired; };
    std::atomic<int> brief = 0;
    OBL_ErrInfoCreate(&shared, nullptr, &Handle);
    OBL_ErrInfoSetLoggingHandler(shared, [](const char*, uint32_t, const char*) { ++logged; });
    OBL_MutexCreate(&contended.mutex, "contended", nullptr, nullptr);
    OBL_DRV_SemaphoreCreate(&ring.free, nullptr);
    OBL_DRV_SemaphoreCreate(&ring.filled, nullptr);
    OBL_DRV_SpinLockCreate(&ring.lock, nullptr);
    {
        Threads threads;
        for (uint32_t id = 1; id <= 8; ++id) {
            threads.Start([=] { Report(id); });
            threads.Start([&, id] { contended.Add(id == 1 ? UINT32_MAX : id); });
        }
        for (int pair = 0; pair < 3; ++pair) {
            threads.Start([&] { ring.Produce(); });
            threads.Start([&] { ring.Consume(); });
        }
        threads.Start([&] { RunTimers(timer); });
        for (int round = 0; round < 20; ++round) {
            Threads ten;
            for (int i = 0; i < 10; ++i) ten.Start([&] { ++brief; });
        }
    }
    EXPECT_EQ(brief, 200);
    EXPECT_EQ(expired, 50);
    EXPECT_EQ(ring.sum, 3 * 1000 * 1001 / 2) << "nothing lost, nothing twice";
    EXPECT_EQ(contended.under_lock, contended.acquired);
    EXPECT_TRUE(handled == logged && handled > 0) << "who is heard is heard by both";
    const std::string last = "worker" + std::to_string(shared->nErrorCode);
    EXPECT_EQ(shared->szFunction, last) << "name, status and message are of one report";
    EXPECT_EQ(shared->szMessage, "by " + last);
    EXPECT_EQ(OBL_MutexDestroy(&contended.mutex, nullptr), 0u);
    EXPECT_EQ(OBL_ErrInfoDestroy(&shared), 0u);
}

}  // namespace
