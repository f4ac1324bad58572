#include <errno.h>

#include "support/err/report.h"
#include "support/posx/posx.h"

using namespace trv::support;

// Deliberate: unlike the locks, this family says nothing about a null record.

uint32_t OBL_DRV_SemaphoreCreate(OBL_DRV_Semaphore* psSemaphore, OBL_ErrInfo* psErrInfo) {
    constexpr int this_process = 0;
    if (psSemaphore == nullptr) return TRV_STATUS_PARAMETER;
    if (sem_init(&psSemaphore->sSemaphore, this_process, psSemaphore->nInitialCount) != 0) {
        DropLastErrorText();
        Report(psErrInfo, __func__, TRV_STATUS_SYSTEM, "Failed to Create Semaphore [%s]",
               psSemaphore->szName);
        OBL_DRV_SemaphoreDestroy(psSemaphore, psErrInfo);
        return TRV_STATUS_SYSTEM;
    }
    return TRV_STATUS_OK;
}

uint32_t OBL_DRV_SemaphoreSignal(OBL_DRV_Semaphore* psSemaphore, uint32_t count,
                                 OBL_ErrInfo* psErrInfo) {
    if (psSemaphore == nullptr) return TRV_STATUS_PARAMETER;
    for (uint32_t post = 0; post < count; ++post)
        if (sem_post(&psSemaphore->sSemaphore) != 0)
            return Report(psErrInfo, __func__, TRV_STATUS_SYSTEM, "Failed to Signal Semaphore [%s]",
                          psSemaphore->szName);
    return TRV_STATUS_OK;
}

uint32_t OBL_DRV_SemaphoreWaitWithTimeout(OBL_DRV_Semaphore* psSemaphore, int32_t timeout,
                                          OBL_ErrInfo* psErrInfo) {
    if (psSemaphore == nullptr) return TRV_STATUS_PARAMETER;
    sem_t* semaphore = &psSemaphore->sSemaphore;
    if (timeout == wait_without_limit) {
        // Deliberate: a wait that a signal interrupts has failed and is not resumed.
        if (sem_wait(semaphore) != 0)
            return Report(psErrInfo, __func__, TRV_STATUS_SYSTEM,
                          "Failed to Acquire Semaphore [%s] with Infinite TimeOut",
                          psSemaphore->szName);
        return TRV_STATUS_OK;
    }
    if (timeout == try_once) {
        if (sem_trywait(semaphore) == 0) return TRV_STATUS_OK;
        const int error = errno;
        if (error == EAGAIN) return TRV_STATUS_TIMEOUT;
        return Report(psErrInfo, __func__, TRV_STATUS_SYSTEM,
                      "Failed to Acquire Semaphore [%s] with Zero TimeOut [%d]",
                      psSemaphore->szName, error);
    }
    return PollUntil(timeout, [=] { return sem_trywait(semaphore) == 0; });
}

uint32_t OBL_DRV_SemaphoreDestroy(OBL_DRV_Semaphore* psSemaphore, OBL_ErrInfo* psErrInfo) {
    if (psSemaphore == nullptr) return TRV_STATUS_PARAMETER;
    if (sem_destroy(&psSemaphore->sSemaphore) != 0) {
        DropLastErrorText();
        return Report(psErrInfo, __func__, TRV_STATUS_SYSTEM, "Failed to Destroy Semaphore [%s]",
                      psSemaphore->szName);
    }
    return TRV_STATUS_OK;
}
