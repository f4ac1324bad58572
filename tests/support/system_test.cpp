// Clocks and identity, semaphores, timers, threads.
#include <errno.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "support/posx/posx.h"
#include "tests/support/fakes.h"

namespace {

TEST_F(Support, Clocks) {
    calls.clock_stands = true;
    calls.now_us = 5000000001999;
    uint32_t ms = 0;
    QUIET(OBL_DRV_GetTimeNowMs(&ms), 0);
    EXPECT_EQ(ms, static_cast<uint32_t>(5000000001)) << "truncated and wrapped";
    OBL_DRV_SleepMs(2345);
    EXPECT_EQ(calls.slept.tv_sec, 2);
    EXPECT_EQ(calls.slept.tv_nsec, 345000000);
    calls.nanosleep.FailNext();
    OBL_DRV_SleepMs(1);
    EXPECT_EQ(calls.nanosleep.count, 2) << "an interrupted sleep is not resumed";
    uint64_t ns = 0;
    calls.monotonic = {5, 123456789};
    QUIET(OBL_DRV_GetTimeNowNs(&ns), 0);
    EXPECT_EQ(ns, 5123456789u) << "of the monotonic clock, in 64 bits";
    calls.clock_gettime.FailNext();
    QUIET(OBL_DRV_GetTimeNowNs(&ns), 15);
    EXPECT_EQ(ns, 0u);
    EXPECT_DEATH(OBL_DRV_GetTimeNowNs(nullptr), "");
    for (const int error : {0, ENOENT, EAGAIN}) {
        char text[OBL_DRV_ERROR_TEXT_BYTES] = "untouched";
        errno = error;
        EXPECT_EQ(OBL_DRV_GetLastError(text), error);
        EXPECT_STREQ(text, strerror(error));
    }
}

TEST_F(Support, Identity) {
    uint32_t process = 0, is_event_thread = 9;
    QUIET(OBL_DRV_GetCurrentProcessId(&process), 0);
    EXPECT_EQ(process, static_cast<uint32_t>(getpid()));
    // Callers hand over longer records of their own.
    struct Longer {
        uint64_t id;
        char rest[500];
    } here = {};
    void* const entry = reinterpret_cast<void*>(&OBL_DRV_IsEventThread);
    const auto ask = reinterpret_cast<uint32_t (*)(uint32_t*, Longer)>(entry);
    QUIET(OBL_DRV_GetCurrentThreadId(&here.id), 0);
    EXPECT_EQ(here.id, pthread_self());
    QUIET(ask(&is_event_thread, here), 0);
    EXPECT_EQ(is_event_thread, 1u);
    std::thread([&] { ask(&is_event_thread, here); }).join();
    EXPECT_EQ(is_event_thread, 0u);
    int32_t priority = -1;
    calls.pthread_getschedparam.FailNext();
    QUIET(OBL_DRV_GetCurrentThreadPriority(&priority), 26);
    EXPECT_EQ(priority, -1);
}

TEST_F(Support, SemaphoreCountsUpAndDown) {
    OBL_DRV_Semaphore s = {.szName = "s", .sSemaphore = {}, .nInitialCount = 2};
    QUIET(OBL_DRV_SemaphoreCreate(&s, info), 0);
    QUIET(OBL_DRV_SemaphoreWaitWithTimeout(&s, 0, info), 0);
    QUIET(OBL_DRV_SemaphoreWaitWithTimeout(&s, -1, info), 0);
    QUIET(OBL_DRV_SemaphoreSignal(&s, 0, info), 0);
    QUIET(OBL_DRV_SemaphoreWaitWithTimeout(&s, 0, info), 0x8000);
    QUIET(OBL_DRV_SemaphoreSignal(&s, 3, info), 0);
    for (const int32_t timeout : {-1, 0, 20})
        QUIET(OBL_DRV_SemaphoreWaitWithTimeout(&s, timeout, info), 0);
    QUIET(OBL_DRV_SemaphoreCreate(nullptr, info), 8);
    QUIET(OBL_DRV_SemaphoreSignal(nullptr, 0, info), 8);
    QUIET(OBL_DRV_SemaphoreWaitWithTimeout(nullptr, 0, info), 8);
    QUIET(OBL_DRV_SemaphoreDestroy(nullptr, info), 8);

    OBL_DRV_Timer timer = {};  // its signal handler lets calls be interrupted
    OBL_DRV_TimerStart(&timer, nullptr);
    const itimerval again = {{0, 2000}, {0, 2000}}, never = {};
    setitimer(ITIMER_REAL, &again, nullptr);
    SAYS(OBL_DRV_SemaphoreWaitWithTimeout(&s, -1, info), 15,
         "Failed to Acquire Semaphore [s] with Infinite TimeOut");
    setitimer(ITIMER_REAL, &never, nullptr);
    OBL_DRV_TimerStop(&timer, nullptr);
    QUIET(OBL_DRV_SemaphoreDestroy(&s, info), 0);
}

TEST_F(Support, SemaphoreReportsWhatTheSystemRefuses) {
    OBL_DRV_Semaphore s = {.szName = "s", .sSemaphore = {}, .nInitialCount = SEM_VALUE_MAX + 1u};
    SAYS(OBL_DRV_SemaphoreCreate(&s, info), 15, "Failed to Create Semaphore [s]");
    calls.sem_destroy.FailNext();
    EXPECT_EQ(OBL_DRV_SemaphoreCreate(&s, info), 15u);
    EXPECT_EQ(Said(),
              "OBL_DRV_SemaphoreCreate 15 Failed to Create Semaphore [s]\n"
              "OBL_DRV_SemaphoreDestroy 15 Failed to Destroy Semaphore [s]\n");
    s.nInitialCount = SEM_VALUE_MAX - 1;
    QUIET(OBL_DRV_SemaphoreCreate(&s, info), 0);
    SAYS(OBL_DRV_SemaphoreSignal(&s, 3, info), 15, "Failed to Signal Semaphore [s]");
    EXPECT_EQ(calls.sem_post.count, 2) << "what could be added stays, the rest is not tried";
    calls.sem_trywait.FailNext();
    SAYS(OBL_DRV_SemaphoreWaitWithTimeout(&s, 0, info), 15,
         "Failed to Acquire Semaphore [s] with Zero TimeOut [22]");
    int value = 0;
    sem_getvalue(&s.sSemaphore, &value);
    EXPECT_EQ(value, SEM_VALUE_MAX);
}

std::atomic<int> expired;

struct Timer : Support {
    Timer() {
        expired = 0;
        timer.pvContext = &timer;
        timer.pfnCallback = [](int32_t zero, void* context) {
            expired += zero == 0 && static_cast<OBL_DRV_Timer*>(context)->szName[0] == 't';
        };
    }
    void Start(uint32_t delay_ms) {
        timer.nDelayMs = delay_ms;
        QUIET(OBL_DRV_TimerStart(&timer, info), 0);
        timer_gettime(timer.hTimer, &left);
    }
    void StopWhenExpired(int times) {
        for (int wait = 0; expired < times && wait < 5000; ++wait) usleep(1000);
        QUIET(OBL_DRV_TimerStop(&timer, info), 0);
        EXPECT_EQ(expired, times);
    }
    OBL_DRV_Timer timer = Named<OBL_DRV_Timer>("t");
    itimerspec left = {};  // as the system held it right after the start
};

TEST_F(Timer, MillisecondsBelowASecondAreNanoseconds) {
    Start(2500);
    EXPECT_EQ(timer.nSignal, SIGALRM);
    EXPECT_EQ(timer.sTimerSpec.it_value.tv_sec, 2);
    EXPECT_EQ(timer.sTimerSpec.it_value.tv_nsec, 500);
    EXPECT_TRUE(left.it_value.tv_sec <= 2 && left.it_interval.tv_nsec == 0) << "one shot";
    EXPECT_EQ(timer.sSigAction.sa_flags, SA_SIGINFO) << "nothing else";
    StopWhenExpired(0);
    Start(0);
    EXPECT_EQ(left.it_value.tv_sec + left.it_value.tv_nsec, 0) << "0 never expires";
    StopWhenExpired(0);
    Start(999);
    StopWhenExpired(1);
    Start(1000);
    StopWhenExpired(2);
    struct sigaction action = {};
    sigaction(SIGALRM, nullptr, &action);
    EXPECT_EQ(action.sa_sigaction, &OBL_DRV_TimerHandler) << "taken for good";
}

TEST_F(Timer, HandlerCallsTheRecordThatTheValueNames) {
    OBL_DRV_Timer other = timer;
    timer.pvContext = &other;
    timer.pfnCallback = nullptr;
    Start(1);
    StopWhenExpired(1);
    siginfo_t information = {};
    OBL_DRV_TimerHandler(SIGALRM, nullptr, nullptr);
    OBL_DRV_TimerHandler(SIGALRM, &information, nullptr);
    information.si_value.sival_ptr = &timer;
    OBL_DRV_TimerHandler(SIGALRM, &information, nullptr);
    EXPECT_EQ(expired, 1) << "nobody to call";
}

TEST_F(Timer, ReportsWhatTheSystemRefuses) {
    QUIET(OBL_DRV_TimerCreate(nullptr), 8);
    SAYS(OBL_DRV_TimerStart(nullptr, info), 8, "psTimer is NULL");
    SAYS(OBL_DRV_TimerStop(nullptr, info), 8, "psTimer is NULL");
    SAYS(OBL_DRV_TimerDestroy(nullptr, info), 8, "psTimer is NULL");
    QUIET(OBL_DRV_TimerCreate(&timer), 0);
    QUIET(OBL_DRV_TimerDestroy(&timer, info), 0);
    calls.sigaction.FailNext();
    SAYS(OBL_DRV_TimerStart(&timer, info), 15, "Failed to Setup Signal Handler [t]");
    rlimit pending = {};
    getrlimit(RLIMIT_SIGPENDING, &pending);
    const rlimit none = {0, pending.rlim_max};
    setrlimit(RLIMIT_SIGPENDING, &none);
    SAYS(OBL_DRV_TimerStart(&timer, info), 15, "Failed to Start Timer [t]");
    setrlimit(RLIMIT_SIGPENDING, &pending);
    calls.timer_settime.FailNext();
    SAYS(OBL_DRV_TimerStart(&timer, info), 15, "Failed to Set Timer [t]");
    QUIET(OBL_DRV_TimerStop(&timer, info), 0);  // it was not deleted
    SAYS(OBL_DRV_TimerStop(&timer, info), 15, "Failed to Stop Timer [t]");
}

struct Thread : Support {
    Thread() {
        thread.pvArg = &seen;
        thread.pfnStart = [](void* priority) -> void* {
            OBL_DRV_GetCurrentThreadPriority(static_cast<int32_t*>(priority));
            return nullptr;
        };
    }
    // The priority that the thread saw from inside; -1 if it did not run.
    int Run(uint32_t priority_class) {
        thread.nPriorityClass = priority_class;
        if (OBL_DRV_ThreadCreate(&thread, info) == 0) OBL_DRV_ThreadDestroy(&thread, info);
        return seen;
    }
    int32_t seen = -1;
    OBL_DRV_Thread thread = Named<OBL_DRV_Thread>("t");
};

TEST_F(Thread, AsksForRealTimeAndFallsBackInSilence) {
    calls.pthread_create.FailNext();
    EXPECT_EQ(Run(2), 0) << "default attributes";
    int policy = -1, inherit = -1;
    pthread_attr_getschedpolicy(&thread.sAttr, &policy);
    pthread_attr_getinheritsched(&thread.sAttr, &inherit);
    EXPECT_TRUE(policy == SCHED_FIFO && inherit == PTHREAD_EXPLICIT_SCHED);
    EXPECT_EQ(thread.sSchedParam.sched_priority, 50);
    calls.pthread_create = {};
    EXPECT_EQ(Run(0), 0) << "first-in-first-out at priority 0 is refused";
    EXPECT_EQ(calls.pthread_create.count, 2);
    EXPECT_EQ(Said(), "");
    const auto unprivileged = [this] {
        const rlimit none = {};
        if (setrlimit(RLIMIT_RTPRIO, &none) != 0 || (getuid() == 0 && setuid(65534) != 0)) _exit(9);
        _exit(Run(2) == 0 && calls.pthread_create.count == 4 && Said().empty() ? 0 : 1);
    };
    EXPECT_EXIT(unprivileged(), testing::ExitedWithCode(0), "");
}

TEST_F(Thread, RealTimeWhereItIsAllowed) {
    const int priority = Run(2);
    if (calls.pthread_create.count == 2) GTEST_SKIP() << "no real-time scheduling here";
    EXPECT_EQ(priority, 50);
}

TEST_F(Thread, FailureIsReportedAndJoinedAllTheSame) {
    calls.pthread_create.fail = {1, 2};
    calls.pthread_join.fail = {1};
    SAYS(OBL_DRV_ThreadCreate(&thread, info), 15, "Failed to Create Thread [t]");
    EXPECT_EQ(calls.pthread_join.count, 1) << "and that this fails is not reported";
    SAYS(OBL_DRV_ThreadCreate(nullptr, info), 8, "psThread is NULL");
    QUIET(OBL_DRV_ThreadDestroy(nullptr, info), 8);
}

}  // namespace
