#include "support/aloc/record.h"
#include "support/err/report.h"
#include "support/relaxed.h"

namespace trv::support {
namespace {

constexpr uint64_t text_size = 512;  // the fields have one byte more

// The record's own mutex never reports: trouble with it must not end in the record it guards.
uint32_t Lock(const OBL_ErrInfo* psErrInfo) {
    constexpr uint32_t timeout_ms = 100;
    if (psErrInfo == nullptr) return TRV_STATUS_PARAMETER;
    return OBL_MutexAcquire(psErrInfo->psMutex, timeout_ms, nullptr);
}

uint32_t Unlock(const OBL_ErrInfo* psErrInfo) {
    return OBL_MutexRelease(psErrInfo->psMutex, nullptr);
}

template <class Access>
uint32_t UnderLock(OBL_ErrInfo* psErrInfo, Access access) {
    const uint32_t status = Lock(psErrInfo);
    if (status != TRV_STATUS_OK) return status;
    access();
    return Unlock(psErrInfo);
}

void CallBack(OBL_ErrInfo* psErrInfo, const OBL_HandlerCallback& pfnHandler) {
    const OBL_HandlerCallback call = Load(pfnHandler);
    if (call != nullptr)
        call(psErrInfo->szFunction, Load(psErrInfo->nErrorCode), psErrInfo->szMessage);
}

void SetErrInfo(OBL_ErrInfo* psErrInfo, const char* function, uint32_t status, const char* format,
                va_list arguments) OBL_PRINTF_FORMAT(4, 0);

void SetErrInfo(OBL_ErrInfo* psErrInfo, const char* function, uint32_t status, const char* format,
                va_list arguments) {
    if (Lock(psErrInfo) != TRV_STATUS_OK) return;
    Store(&psErrInfo->nErrorCode, status);
    OBL_strncpy(psErrInfo->szFunction, text_size, function);
    OBL_vsnprintf(psErrInfo->szMessage, text_size, format, arguments);
    Unlock(psErrInfo);
    // Deliberate: without the lock, so that handlers may report, and with the members, not copies.
    CallBack(psErrInfo, psErrInfo->pfnHandler);
    CallBack(psErrInfo, psErrInfo->pfnLogging);
}

// There is no record to report into yet: the callbacks to be are told.
uint32_t ReportCreation(OBL_DecodeCallback pfnDecode, OBL_HandlerCallback pfnHandler,
                        uint32_t status, const char* message) {
    if (pfnHandler == nullptr) return status;
    if (pfnDecode != nullptr) pfnDecode(status, message);
    pfnHandler("OBL_ErrInfoCreate", status, message);
    return status;
}

}  // namespace

uint32_t Report(OBL_ErrInfo* psErrInfo, const char* function, uint32_t status, const char* format,
                ...) {
    va_list arguments;
    va_start(arguments, format);
    SetErrInfo(psErrInfo, function, status, format, arguments);
    va_end(arguments);
    return status;
}

}  // namespace trv::support

using namespace trv::support;

uint32_t OBL_ErrInfoCreate(OBL_ErrInfo** ppsErrInfo, OBL_DecodeCallback pfnDecode,
                           OBL_HandlerCallback pfnHandler) {
    // Deliberate: missing memory counts as success; the null pointer tells of it.
    if (NewRecord(ppsErrInfo) != TRV_STATUS_OK)
        return ReportCreation(pfnDecode, pfnHandler, TRV_STATUS_OK,
                              "Failed to allocate memory for ErrInfo structure");
    OBL_ErrInfo* psErrInfo = *ppsErrInfo;
    const uint32_t status = OBL_MutexCreate(&psErrInfo->psMutex, "ErrorMutex", nullptr, nullptr);
    if (status != TRV_STATUS_OK)
        return ReportCreation(pfnDecode, pfnHandler, status,
                              "Failed to create mutex for ErrInfo structure");
    OBL_ErrInfoSetDecode(psErrInfo, &pfnDecode);
    OBL_ErrInfoSetHandler(psErrInfo, &pfnHandler);
    Store(&psErrInfo->nErrorCode, TRV_STATUS_OK);
    OBL_strncpy(psErrInfo->szMessage, text_size, "No Error");
    return TRV_STATUS_OK;
}

uint32_t OBL_ErrInfoDestroy(OBL_ErrInfo** ppsErrInfo) {
    const uint32_t status = OBL_MutexDestroy(&(*ppsErrInfo)->psMutex, nullptr);
    FreeRecord(ppsErrInfo);
    return status;
}

void OBL_SetErrInfo(OBL_ErrInfo* psErrInfo, const char* function, uint32_t status,
                    const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    SetErrInfo(psErrInfo, function, status, format, arguments);
    va_end(arguments);
}

uint32_t OBL_GetErrInfo(OBL_ErrInfo* psErrInfo, const char** pszMessage, uint32_t* pnErrorCode) {
    return UnderLock(psErrInfo, [=] {
        if (pszMessage != nullptr) *pszMessage = psErrInfo->szMessage;
        if (pnErrorCode != nullptr) *pnErrorCode = Load(psErrInfo->nErrorCode);
    });
}

uint32_t OBL_ErrInfoGetDecode(OBL_ErrInfo* psErrInfo, OBL_DecodeCallback* ppfnDecode) {
    if (ppfnDecode == nullptr) return TRV_STATUS_PARAMETER;
    return UnderLock(psErrInfo, [=] { *ppfnDecode = Load(psErrInfo->pfnDecode); });
}

uint32_t OBL_ErrInfoSetDecode(OBL_ErrInfo* psErrInfo, const OBL_DecodeCallback* ppfnDecode) {
    if (ppfnDecode == nullptr) return TRV_STATUS_PARAMETER;
    return UnderLock(psErrInfo, [=] { Store(&psErrInfo->pfnDecode, *ppfnDecode); });
}

uint32_t OBL_ErrInfoGetHandler(OBL_ErrInfo* psErrInfo, OBL_HandlerCallback* ppfnHandler) {
    if (ppfnHandler == nullptr) return TRV_STATUS_PARAMETER;
    return UnderLock(psErrInfo, [=] { *ppfnHandler = Load(psErrInfo->pfnHandler); });
}

uint32_t OBL_ErrInfoSetHandler(OBL_ErrInfo* psErrInfo, const OBL_HandlerCallback* ppfnHandler) {
    const OBL_HandlerCallback handler = ppfnHandler == nullptr ? nullptr : *ppfnHandler;
    return UnderLock(psErrInfo, [=] { Store(&psErrInfo->pfnHandler, handler); });
}

// Deliberate: by value, unlike its family; programs are compiled against it.
uint32_t OBL_ErrInfoSetLoggingHandler(OBL_ErrInfo* psErrInfo, OBL_HandlerCallback pfnLogging) {
    return UnderLock(psErrInfo, [=] { Store(&psErrInfo->pfnLogging, pfnLogging); });
}
