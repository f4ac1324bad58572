#include <errno.h>
#include <stdlib.h>
#include <sys/time.h>
#include <unistd.h>

#include "support/posx/posx.h"

// The XSI form of strerror_r by its own name: C++ compilers define _GNU_SOURCE, and then the plain
// name is another function, which need not write into the buffer.
extern "C" int __xpg_strerror_r(int error, char* text, size_t size);

uint32_t OBL_DRV_GetTimeNowMs(uint32_t* pnMs) {
    // Deliberate: the wall clock, so that deadlines follow when it is set.
    timeval now = {};
    gettimeofday(&now, nullptr);
    *pnMs = static_cast<uint32_t>(now.tv_sec) * 1000 + static_cast<uint32_t>(now.tv_usec / 1000);
    return TRV_STATUS_OK;
}

uint32_t OBL_DRV_GetTimeNowNs(uint64_t* pnNs) {
    *pnNs = 0;
    timespec now = {};
    if (clock_gettime(CLOCK_MONOTONIC, &now) != 0) {
        trv::support::DropLastErrorText();
        return TRV_STATUS_SYSTEM;
    }
    *pnNs = static_cast<uint64_t>(now.tv_sec) * 1'000'000'000 + static_cast<uint64_t>(now.tv_nsec);
    return TRV_STATUS_OK;
}

void OBL_DRV_SleepMs(uint32_t milliseconds) {
    const ldiv_t parts = ldiv(milliseconds, 1000);
    const timespec time = {parts.quot, parts.rem * 1'000'000};
    nanosleep(&time, nullptr);
}

int32_t OBL_DRV_GetLastError(char* text) {
    __xpg_strerror_r(errno, text, OBL_DRV_ERROR_TEXT_BYTES);
    return errno;
}

uint32_t OBL_DRV_GetCurrentThreadId(uint64_t* pnThreadId) {
    *pnThreadId = pthread_self();
    return TRV_STATUS_OK;
}

uint32_t OBL_DRV_GetCurrentProcessId(uint32_t* pnProcessId) {
    *pnProcessId = static_cast<uint32_t>(getpid());
    return TRV_STATUS_OK;
}

uint32_t OBL_DRV_GetCurrentThreadPriority(int32_t* pnPriority) {
    int policy = 0;
    sched_param param = {};
    if (pthread_getschedparam(pthread_self(), &policy, &param) != 0) return TRV_STATUS_BUSY;
    *pnPriority = param.sched_priority;
    return TRV_STATUS_OK;
}

uint32_t OBL_DRV_IsEventThread(uint32_t* pfIsEventThread, OBL_DRV_EventThread sEventThread) {
    uint64_t caller = 0;
    const uint32_t status = OBL_DRV_GetCurrentThreadId(&caller);
    if (status != TRV_STATUS_OK) return status;
    *pfIsEventThread = caller == sEventThread.nThreadId ? 1 : 0;
    return TRV_STATUS_OK;
}
