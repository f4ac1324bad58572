#include "support/aloc/record.h"
#include "support/posx/mutex.h"
#include "support/relaxed.h"

using namespace trv::support;

uint32_t OBL_MutexCreate(OBL_Mutex** ppsMutex, const char* name, const char* description,
                         OBL_ErrInfo* psErrInfo) {
    if (ppsMutex == nullptr)
        return Report(psErrInfo, __func__, TRV_STATUS_PARAMETER, "ppsMutex is NULL");
    if (*ppsMutex != nullptr)
        return Report(psErrInfo, __func__, TRV_STATUS_PARAMETER, "*ppsMutex is NOT NULL");

    if (NewRecord(ppsMutex) != TRV_STATUS_OK)
        return Report(psErrInfo, __func__, TRV_STATUS_MEMORY,
                      "Failed to Allocate Memory for Mutex [%s]", name);

    OBL_SetDescription((*ppsMutex)->szName, name);
    OBL_SetDescription((*ppsMutex)->szDescription, description);

    const uint32_t status = OBL_DRV_MutexCreate(*ppsMutex, psErrInfo);
    if (status != TRV_STATUS_OK) FreeRecord(ppsMutex);
    return status;
}

uint32_t OBL_MutexAcquire(OBL_Mutex* psMutex, uint32_t timeout, OBL_ErrInfo* psErrInfo) {
    if (psMutex == nullptr)
        return Report(psErrInfo, __func__, TRV_STATUS_PARAMETER, "psMutex is NULL");
    if (Load(psMutex->fDestroying) != 0) [[unlikely]]
        return TRV_STATUS_BUSY;

    const uint32_t status = AcquireOsMutex(psMutex, static_cast<int32_t>(timeout), psErrInfo);
    if (status != TRV_STATUS_OK) return status;

    // Deliberate: the lock just had is not given back, for it belongs to whoever is counted.
    if (Load(psMutex->nCount) != 0) [[unlikely]]
        return Report(psErrInfo, __func__, TRV_STATUS_PARAMETER, "psMutex Count is NOT 0 [%s]",
                      psMutex->szName);
    Store(&psMutex->nCount, 1u);
    return TRV_STATUS_OK;
}

uint32_t OBL_MutexRelease(OBL_Mutex* psMutex, OBL_ErrInfo* psErrInfo) {
    if (psMutex == nullptr)
        return Report(psErrInfo, __func__, TRV_STATUS_PARAMETER, "psMutex is NULL");
    if (Load(psMutex->nCount) != 1)
        return Report(psErrInfo, __func__, TRV_STATUS_PARAMETER, "psMutex Count is NOT 1 [%s]",
                      psMutex->szName);
    Store(&psMutex->nCount, 0u);
    return ReleaseOsMutex(psMutex, psErrInfo);
}

uint32_t OBL_MutexDestroy(OBL_Mutex** ppsMutex, OBL_ErrInfo* psErrInfo) {
    if (ppsMutex == nullptr)
        return Report(psErrInfo, __func__, TRV_STATUS_PARAMETER, "ppsMutex is NULL");
    OBL_Mutex* psMutex = *ppsMutex;
    if (psMutex == nullptr)
        return Report(psErrInfo, __func__, TRV_STATUS_PARAMETER, "*ppsMutex is NULL");

    if (OBL_MutexAcquire(psMutex, 0, psErrInfo) != TRV_STATUS_OK)
        return Report(psErrInfo, __func__, TRV_STATUS_PARAMETER, "Failed to Acquire Mutex [%s]",
                      psMutex->szName);
    Store(&psMutex->fDestroying, 1u);

    if (OBL_MutexRelease(psMutex, psErrInfo) != TRV_STATUS_OK)
        return Report(psErrInfo, __func__, TRV_STATUS_PARAMETER, "Failed to Release Mutex [%s]",
                      psMutex->szName);
    if (Load(psMutex->nCount) != 0) [[unlikely]]
        return Report(psErrInfo, __func__, TRV_STATUS_PARAMETER, "MutexCount is NOT 0 [%s]",
                      psMutex->szName);

    const uint32_t status = OBL_DRV_MutexDestroy(psMutex, psErrInfo);
    FreeRecord(ppsMutex);
    return status;
}
