#include <string.h>

#include "support/posx/mutex.h"

using namespace trv::support;

uint32_t OBL_DRV_MutexCreate(OBL_Mutex* psMutex, OBL_ErrInfo* psErrInfo) {
    if (psMutex == nullptr)
        return Report(psErrInfo, __func__, TRV_STATUS_PARAMETER, "psMutex is NULL");
    if (pthread_mutex_init(&psMutex->sOsMutex, nullptr) != 0) {
        Report(psErrInfo, __func__, TRV_STATUS_SYSTEM, "Failed to Create Mutex [%s]",
               psMutex->szName);
        OBL_DRV_MutexDestroy(psMutex, psErrInfo);
        return TRV_STATUS_SYSTEM;
    }
    return TRV_STATUS_OK;
}

uint32_t OBL_DRV_MutexAcquire(OBL_Mutex* psMutex, int32_t timeout, OBL_ErrInfo* psErrInfo) {
    if (psMutex == nullptr)
        return Report(psErrInfo, __func__, TRV_STATUS_PARAMETER, "psMutex is NULL");
    return AcquireOsMutex(psMutex, timeout, psErrInfo);
}

uint32_t OBL_DRV_MutexRelease(OBL_Mutex* psMutex, OBL_ErrInfo* psErrInfo) {
    if (psMutex == nullptr)
        return Report(psErrInfo, __func__, TRV_STATUS_PARAMETER, "psMutex is NULL");
    return ReleaseOsMutex(psMutex, psErrInfo);
}

uint32_t OBL_DRV_MutexDestroy(OBL_Mutex* psMutex, OBL_ErrInfo* psErrInfo) {
    if (psMutex == nullptr)
        return Report(psErrInfo, __func__, TRV_STATUS_PARAMETER, "psMutex is NULL");
    if (pthread_mutex_destroy(&psMutex->sOsMutex) != 0)
        return Report(psErrInfo, __func__, TRV_STATUS_SYSTEM, "Failed to Destroy Mutex [%s]",
                      psMutex->szName);
    return TRV_STATUS_OK;
}

uint32_t OBL_DRV_SpinLockCreate(OBL_DRV_SpinLock* psSpinLock, OBL_ErrInfo* psErrInfo) {
    if (psSpinLock == nullptr)
        return Report(psErrInfo, __func__, TRV_STATUS_PARAMETER, "psSpinLock is NULL");
    if (pthread_mutex_init(&psSpinLock->sOsMutex, nullptr) != 0) {
        Report(psErrInfo, __func__, TRV_STATUS_SYSTEM, "Failed to Create SpinLock [%s]",
               psSpinLock->szName);
        OBL_DRV_SpinLockDestroy(psSpinLock, psErrInfo);
        return TRV_STATUS_SYSTEM;
    }
    return TRV_STATUS_OK;
}

uint32_t OBL_DRV_SpinLockAcquire(OBL_DRV_SpinLock* psSpinLock, OBL_ErrInfo* psErrInfo) {
    if (psSpinLock == nullptr)
        return Report(psErrInfo, __func__, TRV_STATUS_PARAMETER, "psSpinLock is NULL");
    // Deliberate: a mutex that sleeps, so that a real-time waiter does not starve an ordinary
    // holder.
    if (pthread_mutex_lock(&psSpinLock->sOsMutex) != 0)
        return Report(psErrInfo, __func__, TRV_STATUS_SYSTEM, "Failed to Acquire SpinLock [%s]",
                      psSpinLock->szName);
    return TRV_STATUS_OK;
}

uint32_t OBL_DRV_SpinLockRelease(OBL_DRV_SpinLock* psSpinLock, OBL_ErrInfo* psErrInfo) {
    if (psSpinLock == nullptr)
        return Report(psErrInfo, __func__, TRV_STATUS_PARAMETER, "psSpinLock is NULL");
    if (pthread_mutex_unlock(&psSpinLock->sOsMutex) != 0)
        return Report(psErrInfo, __func__, TRV_STATUS_SYSTEM, "Failed to Release SpinLock [%s]",
                      psSpinLock->szName);
    return TRV_STATUS_OK;
}

uint32_t OBL_DRV_SpinLockDestroy(OBL_DRV_SpinLock* psSpinLock, OBL_ErrInfo* psErrInfo) {
    if (psSpinLock == nullptr)
        return Report(psErrInfo, __func__, TRV_STATUS_PARAMETER, "psSpinLock is NULL");
    if (pthread_mutex_destroy(&psSpinLock->sOsMutex) != 0)
        return Report(psErrInfo, __func__, TRV_STATUS_SYSTEM, "Failed to Destroy SpinLock [%s]",
                      psSpinLock->szName);
    memset(&psSpinLock->sOsMutex, 0, sizeof psSpinLock->sOsMutex);
    return TRV_STATUS_OK;
}
