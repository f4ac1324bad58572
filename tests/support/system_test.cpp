// Clocks and identity, semaphores, threads, timers.
#include <errno.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>

#include "support/posx/posx.h"
#include "tests/support/fakes.h"

namespace {

class TimeTest : public SupportTest {};
class SemaphoreTest : public SupportTest {
  protected:
    OBL_DRV_Semaphore semaphore = Named<OBL_DRV_Semaphore>("s");

    int Value() {
        int value = -1;
        sem_getvalue(&semaphore.sSemaphore, &value);
        return value;
    }
};

TEST_F(TimeTest, Clocks) {
    calls.clock_stands = true;
    calls.now_us = 5000000001999;
    uint32_t ms = 0;
    EXPECT_EQ(OBL_DRV_GetTimeNowMs(&ms), 0u);
    EXPECT_EQ(ms, static_cast<uint32_t>(5000000001)) << "truncated and wrapped";
    OBL_DRV_SleepMs(2345);
    EXPECT_EQ(calls.last_sleep.tv_sec, 2);
    EXPECT_EQ(calls.last_sleep.tv_nsec, 345000000);
    calls.nanosleep.fail = {2};
    calls.nanosleep.error = EINTR;
    OBL_DRV_SleepMs(1);
    EXPECT_EQ(calls.nanosleep.count, 2) << "an interrupted sleep is not resumed";

    timespec before = {}, after = {};
    clock_gettime(CLOCK_MONOTONIC, &before);
    uint64_t ns = 0;
    EXPECT_EQ(OBL_DRV_GetTimeNowNs(&ns), 0u);
    clock_gettime(CLOCK_MONOTONIC, &after);
    const auto count = [](const timespec& time) { return time.tv_sec * 1000000000 + time.tv_nsec; };
    EXPECT_LE(count(before), static_cast<int64_t>(ns));
    EXPECT_GE(count(after), static_cast<int64_t>(ns));
    calls.clock_gettime.fail = {calls.clock_gettime.count + 1};
    EXPECT_EQ(OBL_DRV_GetTimeNowNs(&ns), 15u);
    EXPECT_EQ(ns, 0u);
    EXPECT_DEATH(OBL_DRV_GetTimeNowNs(nullptr), "");
}

TEST_F(TimeTest, ErrorTextIsWrittenIntoTheBuffer) {
    for (const int error : {0, ENOENT, EAGAIN}) {
        char text[OBL_DRV_ERROR_TEXT_BYTES] = "untouched";
        errno = error;
        EXPECT_EQ(OBL_DRV_GetLastError(text), error);
        EXPECT_STREQ(text, strerror(error));
    }
}

TEST_F(TimeTest, Identity) {
    uint32_t process = 0;
    EXPECT_EQ(OBL_DRV_GetCurrentProcessId(&process), 0u);
    EXPECT_EQ(process, static_cast<uint32_t>(getpid()));
    OBL_DRV_EventThread here = {};
    uint32_t is_event_thread = 9;
    EXPECT_EQ(OBL_DRV_GetCurrentThreadId(&here.nThreadId), 0u);
    EXPECT_EQ(here.nThreadId, pthread_self());
    EXPECT_EQ(OBL_DRV_IsEventThread(&is_event_thread, here), 0u);
    EXPECT_EQ(is_event_thread, 1u);
    OnAnotherThread([&] { OBL_DRV_IsEventThread(&is_event_thread, here); });
    EXPECT_EQ(is_event_thread, 0u);
    // Callers hand over longer records of their own.
    struct Longer {
        uint64_t id;
        char rest[500];
    } longer = {here.nThreadId, {}};
    void* const entry = reinterpret_cast<void*>(&OBL_DRV_IsEventThread);
    const auto call = reinterpret_cast<uint32_t (*)(uint32_t*, Longer)>(entry);
    EXPECT_EQ(call(&is_event_thread, longer), 0u);
    EXPECT_EQ(is_event_thread, 1u);
    int32_t priority = -1;
    EXPECT_EQ(OBL_DRV_GetCurrentThreadPriority(&priority), 0u);
    EXPECT_EQ(priority, 0);
    calls.pthread_getschedparam.fail = {2};
    priority = -1;
    EXPECT_EQ(OBL_DRV_GetCurrentThreadPriority(&priority), 26u);
    EXPECT_EQ(priority, -1);
}

TEST_F(SemaphoreTest, CountsUpAndDown) {
    semaphore.nInitialCount = 2;
    ASSERT_EQ(OBL_DRV_SemaphoreCreate(&semaphore, info), 0u);
    for (const uint32_t expected : {0u, 0u, 0x8000u})
        EXPECT_EQ(OBL_DRV_SemaphoreWaitWithTimeout(&semaphore, 0, info), expected);
    EXPECT_EQ(OBL_DRV_SemaphoreSignal(&semaphore, 0, info), 0u);
    EXPECT_EQ(Value(), 0);
    EXPECT_EQ(OBL_DRV_SemaphoreSignal(&semaphore, 3, info), 0u);
    for (const int32_t timeout : {-1, 0, 20})
        EXPECT_EQ(OBL_DRV_SemaphoreWaitWithTimeout(&semaphore, timeout, info), 0u);
    EXPECT_EQ(OBL_DRV_SemaphoreDestroy(&semaphore, info), 0u);
    EXPECT_EQ(OBL_DRV_SemaphoreCreate(nullptr, info), 8u);
    EXPECT_EQ(OBL_DRV_SemaphoreSignal(nullptr, 0, info), 8u);
    EXPECT_EQ(OBL_DRV_SemaphoreWaitWithTimeout(nullptr, 0, info), 8u);
    EXPECT_EQ(OBL_DRV_SemaphoreDestroy(nullptr, info), 8u);
    EXPECT_EQ(Said(), "") << "neither timeouts nor null records are reported";
}

TEST_F(SemaphoreTest, ReportsWhatTheSystemRefuses) {
    semaphore.nInitialCount = static_cast<uint32_t>(SEM_VALUE_MAX) + 1;
    calls.sem_destroy.fail = {2, 3};
    EXPECT_EQ(OBL_DRV_SemaphoreCreate(&semaphore, info), 15u);
    EXPECT_EQ(calls.sem_destroy.count, 1) << "destroyed although it was not made";
    EXPECT_EQ(OBL_DRV_SemaphoreCreate(&semaphore, info), 15u);
    semaphore.nInitialCount = SEM_VALUE_MAX - 1;
    ASSERT_EQ(OBL_DRV_SemaphoreCreate(&semaphore, info), 0u);
    EXPECT_EQ(OBL_DRV_SemaphoreSignal(&semaphore, 3, info), 15u);
    EXPECT_EQ(Value(), SEM_VALUE_MAX) << "what was added stays";
    EXPECT_EQ(calls.sem_post.count, 2) << "and the rest is not tried";
    calls.sem_trywait.fail = {1};
    EXPECT_EQ(OBL_DRV_SemaphoreWaitWithTimeout(&semaphore, 0, info), 15u);
    EXPECT_EQ(OBL_DRV_SemaphoreDestroy(&semaphore, info), 15u);
    EXPECT_EQ(Said(),
              "OBL_DRV_SemaphoreCreate 15 Failed to Create Semaphore [s]\n"
              "OBL_DRV_SemaphoreCreate 15 Failed to Create Semaphore [s]\n"
              "OBL_DRV_SemaphoreDestroy 15 Failed to Destroy Semaphore [s]\n"
              "OBL_DRV_SemaphoreSignal 15 Failed to Signal Semaphore [s]\n"
              "OBL_DRV_SemaphoreWaitWithTimeout 15 Failed to Acquire Semaphore [s] with Zero "
              "TimeOut [22]\n"
              "OBL_DRV_SemaphoreDestroy 15 Failed to Destroy Semaphore [s]\n");
}

// ---- Timers

std::atomic<int> expired;

class TimerTest : public SupportTest {
  protected:
    TimerTest() {
        expired = 0;
        timer.pvContext = &timer;
        timer.pfnCallback = [](int32_t zero, void* context) {
            if (zero == 0 && static_cast<OBL_DRV_Timer*>(context)->szName[0] == 't') ++expired;
        };
    }
    // What the system holds the timer to, right after it was started with a delay of "ms".
    itimerspec Started(uint32_t ms) {
        timer.nDelayMs = ms;
        EXPECT_EQ(OBL_DRV_TimerStart(&timer, info), 0u);
        itimerspec left = {};
        timer_gettime(timer.hTimer, &left);
        return left;
    }
    static bool ExpiredTimes(int times) {
        const time_t start = time(nullptr);
        while (expired < times && time(nullptr) - start < 20) usleep(1000);
        return expired == times;
    }
    OBL_DRV_Timer timer = Named<OBL_DRV_Timer>("t");
};

TEST_F(TimerTest, MillisecondsBelowASecondAreNanoseconds) {
    EXPECT_EQ(OBL_DRV_TimerCreate(&timer), 0u);
    const itimerspec running = Started(2500);
    EXPECT_EQ(timer.nSignal, SIGALRM);
    EXPECT_EQ(timer.sTimerSpec.it_value.tv_sec, 2);
    EXPECT_EQ(timer.sTimerSpec.it_value.tv_nsec, 500);
    EXPECT_LE(running.it_value.tv_sec, 2);
    EXPECT_EQ(running.it_interval.tv_sec + running.it_interval.tv_nsec, 0) << "one shot";
    EXPECT_EQ(OBL_DRV_TimerStop(&timer, info), 0u);
    EXPECT_EQ(expired, 0);
    const itimerspec disarmed = Started(0);
    EXPECT_EQ(disarmed.it_value.tv_sec + disarmed.it_value.tv_nsec, 0) << "0 never expires";
    EXPECT_EQ(OBL_DRV_TimerStop(&timer, info), 0u);
    Started(999);
    EXPECT_TRUE(ExpiredTimes(1)) << "with 0 and the record";
    EXPECT_EQ(OBL_DRV_TimerStop(&timer, info), 0u);
    Started(1000);
    EXPECT_TRUE(ExpiredTimes(2));
    EXPECT_EQ(OBL_DRV_TimerStop(&timer, info), 0u);
    EXPECT_EQ(OBL_DRV_TimerDestroy(&timer, info), 0u);
    EXPECT_EQ(Said(), "");
}

TEST_F(TimerTest, TakesTheSignalForGoodWithTheInformationFlagAlone) {
    Started(0);
    OBL_DRV_TimerStop(&timer, info);
    struct sigaction action = {};
    sigaction(SIGALRM, nullptr, &action);
    EXPECT_EQ(action.sa_sigaction, &OBL_DRV_TimerHandler);
    EXPECT_EQ(timer.sSigAction.sa_flags, SA_SIGINFO);
}

TEST_F(TimerTest, HandlerCallsTheRecordThatTheValueNames) {
    OBL_DRV_TimerHandler(SIGALRM, nullptr, nullptr);
    siginfo_t information = {};
    OBL_DRV_TimerHandler(SIGALRM, &information, nullptr);
    OBL_DRV_Timer other = timer;
    information.si_value.sival_ptr = &other;
    OBL_DRV_TimerHandler(SIGALRM, &information, nullptr);
    EXPECT_EQ(expired, 1);
    other.pfnCallback = nullptr;
    OBL_DRV_TimerHandler(SIGALRM, &information, nullptr);
    EXPECT_EQ(expired, 1);
    timer.pvContext = &other;
    Started(1);
    other.pfnCallback = timer.pfnCallback;
    Started(1);
    EXPECT_TRUE(ExpiredTimes(2)) << "only once the named record had a callback";
}

TEST_F(TimerTest, ReportsWhatTheSystemRefuses) {
    EXPECT_EQ(OBL_DRV_TimerCreate(nullptr), 8u);
    EXPECT_EQ(OBL_DRV_TimerStart(nullptr, info), 8u);
    EXPECT_EQ(OBL_DRV_TimerStop(nullptr, info), 8u);
    EXPECT_EQ(OBL_DRV_TimerDestroy(nullptr, info), 8u);
    EXPECT_EQ(Said(),
              "OBL_DRV_TimerStart 8 psTimer is NULL\n"
              "OBL_DRV_TimerStop 8 psTimer is NULL\n"
              "OBL_DRV_TimerDestroy 8 psTimer is NULL\n")
        << "creation says nothing";

    calls.sigaction.fail = {1};
    EXPECT_EQ(OBL_DRV_TimerStart(&timer, info), 15u);
    rlimit pending = {};
    getrlimit(RLIMIT_SIGPENDING, &pending);
    const rlimit none = {0, pending.rlim_max};
    setrlimit(RLIMIT_SIGPENDING, &none);
    EXPECT_EQ(OBL_DRV_TimerStart(&timer, info), 15u);
    setrlimit(RLIMIT_SIGPENDING, &pending);
    calls.timer_settime.fail = {1};
    EXPECT_EQ(OBL_DRV_TimerStart(&timer, info), 15u);
    EXPECT_EQ(OBL_DRV_TimerStop(&timer, info), 0u) << "the timer was left to be deleted";
    EXPECT_EQ(OBL_DRV_TimerStop(&timer, info), 15u);
    EXPECT_EQ(Said(),
              "OBL_DRV_TimerStart 15 Failed to Setup Signal Handler [t]\n"
              "OBL_DRV_TimerStart 15 Failed to Start Timer [t]\n"
              "OBL_DRV_TimerStart 15 Failed to Set Timer [t]\n"
              "OBL_DRV_TimerStop 15 Failed to Stop Timer [t]\n");
}

TEST_F(SemaphoreTest, ASignalEndsAWaitWithoutLimit) {
    ASSERT_EQ(OBL_DRV_SemaphoreCreate(&semaphore, info), 0u);
    OBL_DRV_Timer taker = {};  // its handler lets calls be interrupted
    OBL_DRV_TimerStart(&taker, nullptr);
    const itimerval again = {{0, 2000}, {0, 2000}}, never = {};
    setitimer(ITIMER_REAL, &again, nullptr);
    EXPECT_EQ(OBL_DRV_SemaphoreWaitWithTimeout(&semaphore, -1, info), 15u);
    setitimer(ITIMER_REAL, &never, nullptr);
    OBL_DRV_TimerStop(&taker, nullptr);
    EXPECT_EQ(Said(),
              "OBL_DRV_SemaphoreWaitWithTimeout 15 Failed to Acquire Semaphore [s] with Infinite "
              "TimeOut\n");
}

// ---- Threads

class ThreadTest : public SupportTest {
  protected:
    ThreadTest() {
        thread.pvArg = &thread;
        thread.pfnStart = [](void* argument) -> void* {
            auto* self = static_cast<OBL_DRV_Thread*>(argument);
            OBL_DRV_GetCurrentThreadPriority(&self->sSchedParam.sched_priority);
            return nullptr;
        };
    }
    // The priority that the thread saw from inside; -1 if it did not run.
    int Run(uint32_t priority_class) {
        thread.nPriorityClass = priority_class;
        if (OBL_DRV_ThreadCreate(&thread, info) != 0) return -1;
        EXPECT_EQ(OBL_DRV_ThreadDestroy(&thread, info), 0u);
        return thread.sSchedParam.sched_priority;
    }
    OBL_DRV_Thread thread = Named<OBL_DRV_Thread>("t");
};

TEST_F(ThreadTest, AsksForRealTimeFirstAndFallsBackInSilence) {
    calls.pthread_create.fail = {1};
    calls.pthread_create.error = EPERM;
    calls.pthread_create.before = [this] {
        EXPECT_EQ(calls.last_attributes, calls.pthread_create.count == 1 ? &thread.sAttr : nullptr);
        if (calls.pthread_create.count != 1) return;
        int policy = -1, inherit = -1;
        sched_param param = {};
        pthread_attr_getschedpolicy(&thread.sAttr, &policy);
        pthread_attr_getinheritsched(&thread.sAttr, &inherit);
        pthread_attr_getschedparam(&thread.sAttr, &param);
        EXPECT_EQ(policy, SCHED_FIFO);
        EXPECT_EQ(inherit, PTHREAD_EXPLICIT_SCHED);
        EXPECT_EQ(param.sched_priority, 50);
    };
    EXPECT_EQ(Run(2), 0);
    EXPECT_EQ(calls.pthread_create.count, 2);
    EXPECT_EQ(Said(), "");
}

TEST_F(ThreadTest, WithoutAPriorityTheDefaultPolicyIsLeft) {
    EXPECT_EQ(Run(0), 0);
    EXPECT_EQ(calls.pthread_create.count, 2) << "first-in-first-out at priority 0 is refused";
    EXPECT_EQ(Said(), "");
}

TEST_F(ThreadTest, RealTimeWhereItIsAllowed) {
    const int priority = Run(2);
    if (calls.pthread_create.count == 2) GTEST_SKIP() << "no real-time scheduling here";
    EXPECT_EQ(priority, 50);
}

TEST_F(ThreadTest, WithoutThePrivilegeItRunsAllTheSame) {
    const auto unprivileged = [this] {
        const rlimit none = {};
        if (setrlimit(RLIMIT_RTPRIO, &none) != 0 || (getuid() == 0 && setuid(65534) != 0)) _exit(9);
        const int priority = Run(2);
        _exit(priority == 0 && calls.pthread_create.count == 2 && Said().empty() ? 0 : 1);
    };
    EXPECT_EXIT(unprivileged(), testing::ExitedWithCode(0), "");
}

TEST_F(ThreadTest, FailureIsReportedAndJoinedAllTheSame) {
    calls.pthread_create.fail = {1, 2};
    calls.pthread_join.fail = {1};
    EXPECT_EQ(Run(2), -1);
    EXPECT_EQ(calls.pthread_join.count, 1);
    EXPECT_EQ(Said(), "OBL_DRV_ThreadCreate 15 Failed to Create Thread [t]\n")
        << "the failed join is not reported";
    EXPECT_EQ(OBL_DRV_ThreadCreate(nullptr, info), 8u);
    EXPECT_EQ(OBL_DRV_ThreadDestroy(nullptr, info), 8u);
    EXPECT_EQ(Said(), "OBL_DRV_ThreadCreate 8 psThread is NULL\n") << "destruction says nothing";
}

}  // namespace
