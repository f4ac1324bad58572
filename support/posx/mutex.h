// Acquiring and releasing the operating-system mutex, without the null check. In a header because
// the named mutex is allowed no more than half the time of the system's own pair on top of it: a
// call between the two, with what it stores before each locked instruction, is more than that.
#pragma once

#include "support/err/report.h"
#include "support/posx/posx.h"

namespace trv::support {

inline uint32_t AcquireOsMutex(OBL_Mutex* psMutex, int32_t timeout, OBL_ErrInfo* psErrInfo) {
    constexpr const char* function = "OBL_DRV_MutexAcquire";
    pthread_mutex_t* mutex = &psMutex->sOsMutex;
    if (timeout == wait_without_limit) [[likely]] {
        if (pthread_mutex_lock(mutex) != 0)
            return Report(psErrInfo, function, TRV_STATUS_SYSTEM,
                          "Failed to Acquire Mutex [%s] with Infinite TimeOut", psMutex->szName);
        return TRV_STATUS_OK;
    }
    if (timeout == try_once) {
        // Deliberate: a mutex that another holds is a failure here, not a timeout.
        if (pthread_mutex_trylock(mutex) != 0)
            return Report(psErrInfo, function, TRV_STATUS_SYSTEM,
                          "Failed to Acquire Mutex [%s] with TimeOut %d", psMutex->szName, timeout);
        return TRV_STATUS_OK;
    }
    return PollUntil(timeout, [=] { return pthread_mutex_trylock(mutex) == 0; });
}

inline uint32_t ReleaseOsMutex(OBL_Mutex* psMutex, OBL_ErrInfo* psErrInfo) {
    if (pthread_mutex_unlock(&psMutex->sOsMutex) != 0)
        return Report(psErrInfo, "OBL_DRV_MutexRelease", TRV_STATUS_SYSTEM,
                      "Failed to Release Mutex [%s]", psMutex->szName);
    return TRV_STATUS_OK;
}

}  // namespace trv::support
