// Named mutexes, operating-system mutexes, spin locks, and how timeouts poll.
#include <string.h>

#include "tests/support/fakes.h"

namespace {

// A mutex that notices what a default one lets pass: unlocking by another, locking twice.
void MakeErrorChecking(pthread_mutex_t* mutex) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
    pthread_mutex_init(mutex, &attributes);
}

class NamedMutexTest : public SupportTest {
  protected:
    NamedMutexTest() { OBL_MutexCreate(&mutex, "m", "about m", info); }
    ~NamedMutexTest() override {
        if (mutex != nullptr) OBL_MutexDestroy(&mutex, nullptr);
    }
    OBL_Mutex* mutex = nullptr;
};

TEST_F(NamedMutexTest, LivesFromCreationToDestruction) {
    EXPECT_STREQ(mutex->szName, "m");
    EXPECT_STREQ(mutex->szDescription, "about m");
    for (const uint32_t timeout : {UINT32_MAX, 0u, 100u}) {
        EXPECT_EQ(OBL_MutexAcquire(mutex, timeout, info), 0u);
        EXPECT_EQ(mutex->nCount, 1u);
        EXPECT_EQ(OBL_MutexRelease(mutex, info), 0u);
        EXPECT_EQ(mutex->nCount, 0u);
    }
    OBL_Mutex* const before = mutex;
    EXPECT_EQ(OBL_MutexCreate(&mutex, "n", nullptr, info), 8u);
    EXPECT_EQ(mutex, before);
    EXPECT_EQ(Said(), "OBL_MutexCreate 8 *ppsMutex is NOT NULL\n");
    EXPECT_EQ(OBL_MutexDestroy(&mutex, info), 0u);
    EXPECT_EQ(mutex, nullptr);
    EXPECT_EQ(OBL_MutexDestroy(&mutex, info), 8u);
    EXPECT_EQ(OBL_MutexDestroy(nullptr, info), 8u);
    EXPECT_EQ(OBL_MutexCreate(nullptr, "n", nullptr, info), 8u);
    EXPECT_EQ(OBL_MutexAcquire(nullptr, 0, info), 8u);
    EXPECT_EQ(OBL_MutexRelease(nullptr, info), 8u);
    EXPECT_EQ(Said(),
              "OBL_MutexDestroy 8 *ppsMutex is NULL\n"
              "OBL_MutexDestroy 8 ppsMutex is NULL\n"
              "OBL_MutexCreate 8 ppsMutex is NULL\n"
              "OBL_MutexAcquire 8 psMutex is NULL\n"
              "OBL_MutexRelease 8 psMutex is NULL\n");
}

TEST_F(NamedMutexTest, FailedCreationLeavesNull) {
    OBL_Mutex* made = nullptr;
    calls.malloc.fail = {calls.malloc.count + 1};
    EXPECT_EQ(OBL_MutexCreate(&made, "n", nullptr, info), 14u);
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(Said(), "OBL_MutexCreate 14 Failed to Allocate Memory for Mutex [n]\n");
    // The one that could not be made is destroyed all the same, which may fail in turn.
    calls.pthread_mutex_init.fail = {calls.pthread_mutex_init.count + 1};
    calls.pthread_mutex_destroy.fail = {calls.pthread_mutex_destroy.count + 1};
    EXPECT_EQ(OBL_MutexCreate(&made, nullptr, nullptr, info), 15u);
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(Said(),
              "OBL_DRV_MutexCreate 15 Failed to Create Mutex [un-named]\n"
              "OBL_DRV_MutexDestroy 15 Failed to Destroy Mutex [un-named]\n");
}

TEST_F(NamedMutexTest, MisuseIsCounted) {
    EXPECT_EQ(OBL_MutexRelease(mutex, info), 8u);
    EXPECT_EQ(Said(), "OBL_MutexRelease 8 psMutex Count is NOT 1 [m]\n");
    EXPECT_EQ(pthread_mutex_trylock(&mutex->sOsMutex), 0) << "left alone";
    pthread_mutex_unlock(&mutex->sOsMutex);

    ASSERT_EQ(OBL_MutexAcquire(mutex, UINT32_MAX, info), 0u);
    ASSERT_EQ(OBL_DRV_MutexRelease(mutex, info), 0u);
    EXPECT_EQ(OBL_MutexAcquire(mutex, UINT32_MAX, info), 8u);
    EXPECT_EQ(Said(), "OBL_MutexAcquire 8 psMutex Count is NOT 0 [m]\n");
    EXPECT_EQ(pthread_mutex_trylock(&mutex->sOsMutex), EBUSY) << "left held";
    EXPECT_EQ(OBL_MutexRelease(mutex, info), 0u);
}

TEST_F(NamedMutexTest, DestructionDoesNotWaitForAHolder) {
    ASSERT_EQ(OBL_MutexAcquire(mutex, 0, info), 0u);
    OnAnotherThread([this] { EXPECT_EQ(OBL_MutexDestroy(&mutex, info), 8u); });
    EXPECT_EQ(Said(),
              "OBL_DRV_MutexAcquire 15 Failed to Acquire Mutex [m] with TimeOut 0\n"
              "OBL_MutexDestroy 8 Failed to Acquire Mutex [m]\n");
    EXPECT_EQ(mutex->fDestroying, 0u);
    EXPECT_EQ(OBL_MutexRelease(mutex, info), 0u);
}

TEST_F(NamedMutexTest, DestructionThatFailsLateLeavesTheMutexUnusable) {
    const int next = calls.pthread_mutex_unlock.count + 1;
    calls.pthread_mutex_unlock.fail = {next};
    EXPECT_EQ(OBL_MutexDestroy(&mutex, info), 8u);
    EXPECT_EQ(Said(),
              "OBL_DRV_MutexRelease 15 Failed to Release Mutex [m]\n"
              "OBL_MutexDestroy 8 Failed to Release Mutex [m]\n");
    pthread_mutex_unlock(&mutex->sOsMutex);
    EXPECT_EQ(OBL_MutexAcquire(mutex, UINT32_MAX, info), 26u) << "not reported";
    EXPECT_EQ(OBL_MutexDestroy(&mutex, info), 8u);
    EXPECT_EQ(Said(), "OBL_MutexDestroy 8 Failed to Acquire Mutex [m]\n");

    mutex->fDestroying = 0;
    calls.pthread_mutex_unlock = {};
    calls.pthread_mutex_unlock.before = [this] {
        if (calls.pthread_mutex_unlock.count == 1) mutex->nCount = 1;
    };
    EXPECT_EQ(OBL_MutexDestroy(&mutex, info), 8u);
    EXPECT_EQ(Said(), "OBL_MutexDestroy 8 MutexCount is NOT 0 [m]\n");

    mutex->fDestroying = 0;
    mutex->nCount = 0;
    calls.pthread_mutex_destroy.fail = {calls.pthread_mutex_destroy.count + 1};
    EXPECT_EQ(OBL_MutexDestroy(&mutex, info), 15u);
    EXPECT_EQ(mutex, nullptr) << "freed all the same";
    EXPECT_EQ(Said(), "OBL_DRV_MutexDestroy 15 Failed to Destroy Mutex [m]\n");
}

class LockTest : public SupportTest {
  protected:
    OBL_Mutex mutex = Named<OBL_Mutex>("m");
    OBL_DRV_SpinLock lock = Named<OBL_DRV_SpinLock>("s");
};

TEST_F(LockTest, NullRecords) {
    EXPECT_EQ(OBL_DRV_MutexCreate(nullptr, info), 8u);
    EXPECT_EQ(OBL_DRV_MutexAcquire(nullptr, 0, info), 8u);
    EXPECT_EQ(OBL_DRV_MutexRelease(nullptr, info), 8u);
    EXPECT_EQ(OBL_DRV_MutexDestroy(nullptr, info), 8u);
    EXPECT_EQ(OBL_DRV_SpinLockCreate(nullptr, info), 8u);
    EXPECT_EQ(OBL_DRV_SpinLockAcquire(nullptr, info), 8u);
    EXPECT_EQ(OBL_DRV_SpinLockRelease(nullptr, info), 8u);
    EXPECT_EQ(OBL_DRV_SpinLockDestroy(nullptr, info), 8u);
    std::string expected;
    for (const char* what : {"Create", "Acquire", "Release", "Destroy"})
        expected += std::string("OBL_DRV_Mutex") + what + " 8 psMutex is NULL\n";
    for (const char* what : {"Create", "Acquire", "Release", "Destroy"})
        expected += std::string("OBL_DRV_SpinLock") + what + " 8 psSpinLock is NULL\n";
    EXPECT_EQ(Said(), expected);
    EXPECT_EQ(OBL_DRV_MutexCreate(nullptr, nullptr), 8u);
}

TEST_F(LockTest, MutexReportsWhatTheSystemRefuses) {
    MakeErrorChecking(&mutex.sOsMutex);
    EXPECT_EQ(OBL_DRV_MutexAcquire(&mutex, -1, info), 0u);
    EXPECT_EQ(OBL_DRV_MutexAcquire(&mutex, -1, info), 15u);
    OnAnotherThread([this] { EXPECT_EQ(OBL_DRV_MutexRelease(&mutex, info), 15u); });
    EXPECT_EQ(OBL_DRV_MutexAcquire(&mutex, 0, info), 15u) << "held counts as failure";
    EXPECT_EQ(OBL_DRV_MutexDestroy(&mutex, info), 15u);
    EXPECT_EQ(Said(),
              "OBL_DRV_MutexAcquire 15 Failed to Acquire Mutex [m] with Infinite TimeOut\n"
              "OBL_DRV_MutexRelease 15 Failed to Release Mutex [m]\n"
              "OBL_DRV_MutexAcquire 15 Failed to Acquire Mutex [m] with TimeOut 0\n"
              "OBL_DRV_MutexDestroy 15 Failed to Destroy Mutex [m]\n");
    EXPECT_EQ(OBL_DRV_MutexRelease(&mutex, info), 0u);
    EXPECT_EQ(OBL_DRV_MutexDestroy(&mutex, info), 0u);
}

TEST_F(LockTest, SpinLockIsAMutexThatDestructionZeroes) {
    MakeErrorChecking(&lock.sOsMutex);
    EXPECT_EQ(OBL_DRV_SpinLockAcquire(&lock, info), 0u);
    EXPECT_EQ(OBL_DRV_SpinLockAcquire(&lock, info), 15u);
    OnAnotherThread([this] { EXPECT_EQ(OBL_DRV_SpinLockRelease(&lock, info), 15u); });
    EXPECT_EQ(OBL_DRV_SpinLockDestroy(&lock, info), 15u);
    calls.pthread_mutex_init.fail = {calls.pthread_mutex_init.count + 1};
    calls.pthread_mutex_destroy.fail = {calls.pthread_mutex_destroy.count + 1};
    EXPECT_EQ(OBL_DRV_SpinLockCreate(&lock, info), 15u);
    EXPECT_EQ(Said(),
              "OBL_DRV_SpinLockAcquire 15 Failed to Acquire SpinLock [s]\n"
              "OBL_DRV_SpinLockRelease 15 Failed to Release SpinLock [s]\n"
              "OBL_DRV_SpinLockDestroy 15 Failed to Destroy SpinLock [s]\n"
              "OBL_DRV_SpinLockCreate 15 Failed to Create SpinLock [s]\n"
              "OBL_DRV_SpinLockDestroy 15 Failed to Destroy SpinLock [s]\n");
    EXPECT_EQ(OBL_DRV_SpinLockRelease(&lock, info), 0u);
    EXPECT_EQ(OBL_DRV_SpinLockDestroy(&lock, info), 0u);
    const pthread_mutex_t zero = {};
    EXPECT_EQ(memcmp(&lock.sOsMutex, &zero, sizeof zero), 0);
    EXPECT_EQ(OBL_DRV_SpinLockCreate(&lock, info), 0u);
    EXPECT_EQ(OBL_DRV_SpinLockAcquire(&lock, info), 0u);
    EXPECT_EQ(OBL_DRV_SpinLockRelease(&lock, info), 0u);
}

// The same polling serves a held mutex and an empty semaphore.
class PollTest : public SupportTest, public testing::WithParamInterface<bool> {
  protected:
    PollTest() {
        OBL_DRV_MutexCreate(&mutex, nullptr);
        OBL_DRV_MutexAcquire(&mutex, -1, nullptr);
        OBL_DRV_SemaphoreCreate(&semaphore, nullptr);
        calls.clock_stands = true;
    }
    uint32_t Wait(int32_t timeout) {
        (GetParam() ? calls.pthread_mutex_trylock : calls.sem_trywait).count = 0;
        calls.nanosleep.count = 0;
        return GetParam() ? OBL_DRV_MutexAcquire(&mutex, timeout, info)
                          : OBL_DRV_SemaphoreWaitWithTimeout(&semaphore, timeout, info);
    }
    int Tries() const {
        return (GetParam() ? calls.pthread_mutex_trylock : calls.sem_trywait).count;
    }
    void Free() {
        GetParam() ? OBL_DRV_MutexRelease(&mutex, nullptr)
                   : OBL_DRV_SemaphoreSignal(&semaphore, 1, nullptr);
    }
    OBL_Mutex mutex = Named<OBL_Mutex>("m");
    OBL_DRV_Semaphore semaphore = Named<OBL_DRV_Semaphore>("s");
};

INSTANTIATE_TEST_SUITE_P(, PollTest, testing::Bool(), [](const auto& param) {
    return std::string(param.param ? "Mutex" : "Semaphore");
});

TEST_P(PollTest, TriesOnceAMillisecondUntilTheDeadline) {
    EXPECT_EQ(Wait(50), 0x8000u);
    EXPECT_EQ(Tries(), 50);
    EXPECT_EQ(calls.nanosleep.count, 50);
    EXPECT_EQ(calls.last_sleep.tv_sec, 0);
    EXPECT_EQ(calls.last_sleep.tv_nsec, 1000000);
    EXPECT_EQ(Said(), "") << "a timeout is no error";
    calls.nanosleep.before = [this] {
        if (calls.nanosleep.count == 5) Free();
    };
    EXPECT_EQ(Wait(50), 0u);
    EXPECT_EQ(Tries(), 6);
    EXPECT_EQ(Wait(0), GetParam() ? 15u : 0x8000u) << "taken: one try, no sleep";
    EXPECT_EQ(Tries(), 1 + (GetParam() ? 1 : 0)) << "and one by the report";
    EXPECT_EQ(calls.nanosleep.count, 0);
}

TEST_P(PollTest, DoesNotTryAgainAtTheDeadline) {
    calls.nanosleep.before = [this] {
        if (calls.nanosleep.count == 10) Free();
    };
    EXPECT_EQ(Wait(10), 0x8000u);
    EXPECT_EQ(Wait(10), 0u);
}

TEST_P(PollTest, FollowsTheWallClockAndItsWrap) {
    calls.now_us = (uint64_t{1} << 32) * 1000 - 10000;
    EXPECT_EQ(Wait(50), 0x8000u);
    EXPECT_EQ(Tries(), 1) << "a deadline that wraps is past at once";
    calls.now_us = 1000000;
    calls.nanosleep.before = [] {
        if (calls.nanosleep.count == 3) calls.now_us += 3600000000u;
    };
    EXPECT_EQ(Wait(50), 0x8000u);
    EXPECT_EQ(Tries(), 3) << "setting the clock moves the deadline";
    EXPECT_EQ(Wait(-2), 0x8000u);
    EXPECT_EQ(Tries(), 1) << "as a deadline before now";
}

TEST_P(PollTest, AnyFailedTryIsJustATry) {
    Free();
    (GetParam() ? calls.pthread_mutex_trylock : calls.sem_trywait).fail = {1, 2, 3};
    EXPECT_EQ(Wait(10), 0u);
    EXPECT_EQ(Tries(), 4);
}

}  // namespace
