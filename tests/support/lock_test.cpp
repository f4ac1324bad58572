// Named mutexes, operating-system mutexes, spin locks, and how timeouts poll.
#include <thread>

#include "tests/support/fakes.h"

namespace {

// A mutex that notices what a default one lets pass: unlocking by another, locking twice.
void MakeErrorChecking(pthread_mutex_t* mutex) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
    pthread_mutex_init(mutex, &attributes);
}

struct NamedMutex : Support {
    NamedMutex() { OBL_MutexCreate(&mutex, "m", "about m", info); }
    ~NamedMutex() override { OBL_MutexDestroy(&mutex, nullptr); }
    OBL_Mutex* mutex = nullptr;
};

TEST_F(NamedMutex, LivesFromCreationToDestruction) {
    EXPECT_STREQ(mutex->szName, "m");
    EXPECT_STREQ(mutex->szDescription, "about m");
    for (const uint32_t timeout : {UINT32_MAX, 0u, 100u}) {
        QUIET(OBL_MutexAcquire(mutex, timeout, info), 0);
        EXPECT_EQ(mutex->nCount, 1u);
        QUIET(OBL_MutexRelease(mutex, info), 0);
    }
    SAYS(OBL_MutexCreate(&mutex, "n", nullptr, info), 8, "*ppsMutex is NOT NULL");
    SAYS(OBL_MutexCreate(nullptr, "n", nullptr, info), 8, "ppsMutex is NULL");
    SAYS(OBL_MutexRelease(nullptr, info), 8, "psMutex is NULL");
    SAYS(OBL_MutexDestroy(nullptr, info), 8, "ppsMutex is NULL");
    QUIET(OBL_MutexDestroy(&mutex, info), 0);
    EXPECT_EQ(mutex, nullptr);
    SAYS(OBL_MutexDestroy(&mutex, info), 8, "*ppsMutex is NULL");
}

TEST_F(NamedMutex, FailedCreationLeavesNull) {
    OBL_Mutex* made = nullptr;
    calls.malloc.FailNext();
    SAYS(OBL_MutexCreate(&made, "n", nullptr, info), 14, "Failed to Allocate Memory for Mutex [n]");
    calls.pthread_mutex_init.FailNext();
    calls.pthread_mutex_destroy.FailNext();
    EXPECT_EQ(OBL_MutexCreate(&made, nullptr, nullptr, info), 15u);
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(Said(),
              "OBL_DRV_MutexCreate 15 Failed to Create Mutex [un-named]\n"
              "OBL_DRV_MutexDestroy 15 Failed to Destroy Mutex [un-named]\n");
}

TEST_F(NamedMutex, MisuseIsCounted) {
    SAYS(OBL_MutexRelease(mutex, info), 8, "psMutex Count is NOT 1 [m]");
    EXPECT_EQ(pthread_mutex_trylock(&mutex->sOsMutex), 0) << "left alone";
    mutex->nCount = 1;
    QUIET(OBL_DRV_MutexRelease(mutex, info), 0);
    SAYS(OBL_MutexAcquire(mutex, UINT32_MAX, info), 8, "psMutex Count is NOT 0 [m]");
    EXPECT_EQ(pthread_mutex_trylock(&mutex->sOsMutex), EBUSY) << "left held";
    EXPECT_EQ(OBL_MutexDestroy(&mutex, info), 8u) << "a holder is not waited for";
    EXPECT_EQ(Said(),
              "OBL_DRV_MutexAcquire 15 Failed to Acquire Mutex [m] with TimeOut 0\n"
              "OBL_MutexDestroy 8 Failed to Acquire Mutex [m]\n");
    QUIET(OBL_MutexRelease(mutex, info), 0);
}

TEST_F(NamedMutex, DestructionThatFailsLateLeavesTheMutexUnusable) {
    calls.pthread_mutex_unlock.FailNext();
    EXPECT_EQ(OBL_MutexDestroy(&mutex, info), 8u);
    EXPECT_EQ(Said(),
              "OBL_DRV_MutexRelease 15 Failed to Release Mutex [m]\n"
              "OBL_MutexDestroy 8 Failed to Release Mutex [m]\n");
    pthread_mutex_unlock(&mutex->sOsMutex);
    QUIET(OBL_MutexAcquire(mutex, UINT32_MAX, info), 26);
    SAYS(OBL_MutexDestroy(&mutex, info), 8, "Failed to Acquire Mutex [m]");
    mutex->fDestroying = 0;
    calls.pthread_mutex_unlock.before = [this] { mutex->nCount = 1; };
    SAYS(OBL_MutexDestroy(&mutex, info), 8, "MutexCount is NOT 0 [m]");
    calls.pthread_mutex_unlock = {};
    mutex->fDestroying = mutex->nCount = 0;
    calls.pthread_mutex_destroy.FailNext();
    EXPECT_EQ(OBL_MutexDestroy(&mutex, info), 15u);
    EXPECT_EQ(mutex, nullptr) << "freed all the same";
    EXPECT_EQ(Said(), "OBL_DRV_MutexDestroy 15 Failed to Destroy Mutex [m]\n");
}

TEST_F(Support, OsMutexReportsWhatTheSystemRefuses) {
    SAYS(OBL_DRV_MutexCreate(nullptr, info), 8, "psMutex is NULL");
    auto m = Named<OBL_Mutex>("m");
    MakeErrorChecking(&m.sOsMutex);
    QUIET(OBL_DRV_MutexAcquire(&m, -1, info), 0);
    SAYS(OBL_DRV_MutexAcquire(&m, -1, info), 15,
         "Failed to Acquire Mutex [m] with Infinite TimeOut");
    SAYS(OBL_DRV_MutexAcquire(&m, 0, info), 15, "Failed to Acquire Mutex [m] with TimeOut 0");
    const auto elsewhere = [&] {
        SAYS(OBL_DRV_MutexRelease(&m, info), 15, "Failed to Release Mutex [m]");
    };
    std::thread(elsewhere).join();
    SAYS(OBL_DRV_MutexDestroy(&m, info), 15, "Failed to Destroy Mutex [m]");
    QUIET(OBL_DRV_MutexRelease(&m, info), 0);
    QUIET(OBL_DRV_MutexDestroy(&m, info), 0);
}

TEST_F(Support, LocksWithoutARecordAreRefusedAndReported) {
    SAYS(OBL_MutexAcquire(nullptr, 0, info), 8, "psMutex is NULL");
    SAYS(OBL_DRV_MutexAcquire(nullptr, -1, info), 8, "psMutex is NULL");
    SAYS(OBL_DRV_MutexRelease(nullptr, info), 8, "psMutex is NULL");
    SAYS(OBL_DRV_MutexDestroy(nullptr, info), 8, "psMutex is NULL");
    SAYS(OBL_DRV_SpinLockAcquire(nullptr, info), 8, "psSpinLock is NULL");
    SAYS(OBL_DRV_SpinLockRelease(nullptr, info), 8, "psSpinLock is NULL");
    SAYS(OBL_DRV_SpinLockDestroy(nullptr, info), 8, "psSpinLock is NULL");
}

TEST_F(Support, SpinLockIsAMutexThatDestructionZeroes) {
    SAYS(OBL_DRV_SpinLockCreate(nullptr, info), 8, "psSpinLock is NULL");
    auto s = Named<OBL_DRV_SpinLock>("s");
    MakeErrorChecking(&s.sOsMutex);
    QUIET(OBL_DRV_SpinLockAcquire(&s, info), 0);
    SAYS(OBL_DRV_SpinLockAcquire(&s, info), 15, "Failed to Acquire SpinLock [s]");
    SAYS(OBL_DRV_SpinLockDestroy(&s, info), 15, "Failed to Destroy SpinLock [s]");
    QUIET(OBL_DRV_SpinLockRelease(&s, info), 0);
    SAYS(OBL_DRV_SpinLockRelease(&s, info), 15, "Failed to Release SpinLock [s]");
    QUIET(OBL_DRV_SpinLockDestroy(&s, info), 0);
    const std::string bytes(reinterpret_cast<char*>(&s.sOsMutex), sizeof s.sOsMutex);
    EXPECT_EQ(bytes, std::string(sizeof s.sOsMutex, '\0'));
    calls.pthread_mutex_init.FailNext();
    calls.pthread_mutex_destroy.FailNext();
    EXPECT_EQ(OBL_DRV_SpinLockCreate(&s, info), 15u);
    EXPECT_EQ(Said(),
              "OBL_DRV_SpinLockCreate 15 Failed to Create SpinLock [s]\n"
              "OBL_DRV_SpinLockDestroy 15 Failed to Destroy SpinLock [s]\n");
}

// A held mutex or an empty semaphore: the same polling serves both.
struct Polling : Support, testing::WithParamInterface<bool> {
    Polling() {
        OBL_DRV_MutexCreate(&mutex, nullptr);
        OBL_DRV_MutexAcquire(&mutex, -1, nullptr);
        OBL_DRV_SemaphoreCreate(&semaphore, nullptr);
        calls.clock_stands = true;
    }
    void Free() {
        GetParam() ? OBL_DRV_MutexRelease(&mutex, nullptr)
                   : OBL_DRV_SemaphoreSignal(&semaphore, 1, nullptr);
    }
    // Waits and counts the tries.
    void Expect(uint32_t status, int expected_tries, int32_t timeout) {
        tries.count = calls.nanosleep.count = 0;
        EXPECT_EQ(GetParam() ? OBL_DRV_MutexAcquire(&mutex, timeout, info)
                             : OBL_DRV_SemaphoreWaitWithTimeout(&semaphore, timeout, info),
                  status);
        EXPECT_EQ(tries.count, expected_tries);
        EXPECT_EQ(Said(), "") << "a timeout is no error";
    }
    Call& tries = GetParam() ? calls.pthread_mutex_trylock : calls.sem_trywait;
    OBL_Mutex mutex = {};
    OBL_DRV_Semaphore semaphore = {};
};
INSTANTIATE_TEST_SUITE_P(, Polling, testing::Bool());

TEST_P(Polling, TriesOnceAMillisecondAndNotAtTheDeadline) {
    Expect(0x8000, 50, 50);
    EXPECT_EQ(calls.now_us, 50000u);
    const auto free_at = [this](int sleep) {
        calls.nanosleep.before = [=, this] {
            if (calls.nanosleep.count == sleep) Free();
        };
    };
    free_at(5);
    Expect(0, 6, 50);
    free_at(10);
    Expect(0x8000, 10, 10);
    tries.fail = {1, 2, 3};
    Expect(0, 4, 10);  // whatever the cause of a failed try
}

TEST_P(Polling, FollowsTheWallClockAndItsWrap) {
    calls.now_us = ((uint64_t{1} << 32) - 10) * 1000;
    Expect(0x8000, 1, 50);  // a deadline that wraps is past at once
    calls.now_us = 1000000;
    Expect(0x8000, 1, -2);  // so is one before now
    calls.nanosleep.before = [] { calls.now_us += calls.nanosleep.count == 3 ? 3600000000 : 0; };
    Expect(0x8000, 3, 50);  // setting the clock moves it
}

}  // namespace
