#include "support/err/report.h"
#include "support/posx/posx.h"

using namespace trv::support;

namespace {

// Real-time scheduling of the record's own choice. Without a priority class the attributes ask for
// first-in-first-out at priority 0, which no system grants.
void SetScheduling(OBL_DRV_Thread* psThread) {
    pthread_attr_init(&psThread->sAttr);
    pthread_attr_setinheritsched(&psThread->sAttr, PTHREAD_EXPLICIT_SCHED);
    pthread_attr_setschedpolicy(&psThread->sAttr, SCHED_FIFO);
    if (psThread->nPriorityClass != OBL_DRV_PRIORITY_REALTIME) return;
    const int both_ends = sched_get_priority_max(SCHED_FIFO) + sched_get_priority_min(SCHED_FIFO);
    psThread->sSchedParam.sched_priority = both_ends / 2;
    pthread_attr_setschedparam(&psThread->sAttr, &psThread->sSchedParam);
}

bool Start(OBL_DRV_Thread* psThread, const pthread_attr_t* attributes) {
    return pthread_create(&psThread->hThread, attributes, psThread->pfnStart, psThread->pvArg) == 0;
}

}  // namespace

uint32_t OBL_DRV_ThreadCreate(OBL_DRV_Thread* psThread, OBL_ErrInfo* psErrInfo) {
    if (psThread == nullptr)
        return Report(psErrInfo, __func__, TRV_STATUS_PARAMETER, "psThread is NULL");
    SetScheduling(psThread);
    // Deliberate: where real-time scheduling is refused, default scheduling will do, and nobody is
    // told.
    if (!Start(psThread, &psThread->sAttr) && !Start(psThread, nullptr)) {
        Report(psErrInfo, __func__, TRV_STATUS_SYSTEM, "Failed to Create Thread [%s]",
               psThread->szName);
        // Deliberate: joins what pthread_create left in the handle.
        OBL_DRV_ThreadDestroy(psThread, psErrInfo);
        return TRV_STATUS_SYSTEM;
    }
    return TRV_STATUS_OK;
}

uint32_t OBL_DRV_ThreadDestroy(OBL_DRV_Thread* psThread, OBL_ErrInfo* /*psErrInfo*/) {
    // Deliberate: nothing is reported here, neither a null record nor a join that fails.
    if (psThread == nullptr) return TRV_STATUS_PARAMETER;
    pthread_join(psThread->hThread, nullptr);
    return TRV_STATUS_OK;
}
