#define _POSIX_C_SOURCE 200809L
#include <string.h>

#include "tests/calls/calls.h"
#include "trvil/obl_drv.h"

static void use_memory_and_text(void) {
    void* block = NULL;
    char* clone = NULL;
    char text[64] = "One,Two";
    char* cursor = text;
    uint64_t rest = sizeof text;
    GIVES(0, OBL_MemoryAlloc, AT(&block), 100);
    GIVES(0, OBL_MemoryDeAlloc, AT(&block));
    GIVES(0, OBL_StructAlloc, AT(&block), 100);
    use(block, 100);
    GIVES(0, OBL_StructDeAlloc, AT(&block));
    GIVES(7, OBL_str2lower, AT(text));
    GIVES(0, OBL_strncat, AT(text), 3, AT(",three"));
    GIVES(0, OBL_strncmp, AT(text), 64, AT("one,two,th"));
    GIVES(0, OBL_strnclone, AT(&clone), 5, AT(text));
    GIVES(5, OBL_strnlen, AT(clone), 64);
    GIVES(0, OBL_strncpy, AT(clone), 5, AT("abcdefg"));
    GIVES((uintptr_t)(text + 4), OBL_strnstr, AT(text), 64, AT("two"));
    GIVES((uintptr_t)text, OBL_StringToToken, AT(&cursor), AT(&rest), AT(","));
    GIVES(0, OBL_StructDeAlloc, AT(&clone));
    GIVES(0, OBL_SetDescription, AT(text), AT("a name"));
    note_name("OBL_snprintf"); /* a list of arguments has no plain form */
    note_name("OBL_vsnprintf");
    if (OBL_snprintf(text, sizeof text, "%d %s", 42, "words") != 8) complain("snprintf", "", 0);
}

static OBL_PRINTF_FORMAT(2, 3) int32_t print_list(char* text, const char* format, ...) {
    va_list list;
    int32_t count = 0;
    va_start(list, format);
    count = OBL_vsnprintf(text, 64, format, list);
    va_end(list);
    return count;
}

static void ignore_report(const char* function, uint32_t status, const char* message) {
    (void)function, (void)status, (void)message;
}

static void use_errors_and_mutexes(void) {
    OBL_ErrInfo* info = NULL;
    OBL_Mutex* mutex = NULL;
    OBL_DecodeCallback decode = NULL;
    OBL_HandlerCallback handler = ignore_report;
    const char* message = NULL;
    uint32_t status = 0;
    char text[64];
    GIVES(0, OBL_ErrInfoCreate, AT(&info), 0, AT(handler));
    note_name("OBL_SetErrInfo");
    OBL_SetErrInfo(info, "every_call", 7, "%d of %s", 1, "many");
    GIVES(0, OBL_GetErrInfo, AT(info), AT(&message), AT(&status));
    if (status != 7 || strcmp(message, "1 of many") != 0) complain("SetErrInfo", message, status);
    GIVES(0, OBL_ErrInfoGetDecode, AT(info), AT(&decode));
    GIVES(0, OBL_ErrInfoSetDecode, AT(info), AT(&decode));
    GIVES(0, OBL_ErrInfoGetHandler, AT(info), AT(&handler));
    GIVES(0, OBL_ErrInfoSetHandler, AT(info), AT(&handler));
    GIVES(0, OBL_ErrInfoSetLoggingHandler, AT(info), AT(handler));
    GIVES(0, OBL_MutexCreate, AT(&mutex), AT("m"), AT("a mutex"), AT(info));
    GIVES(0, OBL_MutexAcquire, AT(mutex), 10, AT(info));
    GIVES(0, OBL_MutexRelease, AT(mutex), AT(info));
    GIVES(0, OBL_MutexDestroy, AT(&mutex), AT(info));
    GIVES(8, OBL_MutexAcquire, 0, 10, AT(info));
    GIVES(0, OBL_ErrInfoDestroy, AT(&info));
    if (print_list(text, "%s", "list") != 4) complain("OBL_vsnprintf", text, 0);
}

static void use_clocks_and_names(void) {
    uint32_t word = 0, same = 0;
    uint64_t wide = 0;
    int32_t priority = 0;
    char text[OBL_DRV_ERROR_TEXT_BYTES];
    OBL_DRV_EventThread self = {0, {0, 0}};
    GIVES(0, OBL_DRV_GetTimeNowMs, AT(&word));
    GIVES(0, OBL_DRV_GetTimeNowNs, AT(&wide));
    (void)CALL(OBL_DRV_GetLastError, AT(text));
    use(text, strlen(text));
    GIVES(0, OBL_DRV_GetCurrentThreadId, AT(&self.nThreadId));
    GIVES(0, OBL_DRV_GetCurrentProcessId, AT(&word));
    GIVES(0, OBL_DRV_GetCurrentThreadPriority, AT(&priority));
    note_name("OBL_DRV_IsEventThread"); /* takes a record by value */
    if (OBL_DRV_IsEventThread(&same, self) != 0 || same != 1) complain("IsEventThread", "", same);
}

static void* run_thread(void* argument) {
    return argument;
}

static void use_locks(void) {
    OBL_Mutex mutex;
    OBL_DRV_SpinLock spin;
    OBL_DRV_Semaphore semaphore;
    memset(&mutex, 0, sizeof mutex);
    memset(&spin, 0, sizeof spin);
    memset(&semaphore, 0, sizeof semaphore);
    GIVES(0, OBL_DRV_MutexCreate, AT(&mutex), 0);
    GIVES(0, OBL_DRV_MutexAcquire, AT(&mutex), 5, 0);
    GIVES(0, OBL_DRV_MutexRelease, AT(&mutex), 0);
    GIVES(0, OBL_DRV_MutexDestroy, AT(&mutex), 0);
    GIVES(0, OBL_DRV_SpinLockCreate, AT(&spin), 0);
    GIVES(0, OBL_DRV_SpinLockAcquire, AT(&spin), 0);
    GIVES(0, OBL_DRV_SpinLockRelease, AT(&spin), 0);
    GIVES(0, OBL_DRV_SpinLockDestroy, AT(&spin), 0);
    GIVES(0, OBL_DRV_SemaphoreCreate, AT(&semaphore), 0);
    GIVES(0, OBL_DRV_SemaphoreSignal, AT(&semaphore), 1, 0);
    GIVES(0, OBL_DRV_SemaphoreWaitWithTimeout, AT(&semaphore), 5, 0);
    GIVES(0x8000, OBL_DRV_SemaphoreWaitWithTimeout, AT(&semaphore), 2, 0);
    GIVES(0, OBL_DRV_SemaphoreDestroy, AT(&semaphore), 0);
}

static void use_threads_and_timers(void) {
    OBL_DRV_Thread thread;
    OBL_DRV_Timer timer;
    memset(&thread, 0, sizeof thread);
    memset(&timer, 0, sizeof timer);
    thread.pfnStart = run_thread;
    GIVES(0, OBL_DRV_ThreadCreate, AT(&thread), 0);
    GIVES(0, OBL_DRV_ThreadDestroy, AT(&thread), 0);
    timer.nDelayMs = 3600 * 1000;
    timer.pvContext = &timer;
    GIVES(0, OBL_DRV_TimerCreate, AT(&timer));
    GIVES(0, OBL_DRV_TimerStart, AT(&timer), 0);
    GIVES(0, OBL_DRV_TimerStop, AT(&timer), 0);
    GIVES(0, OBL_DRV_TimerDestroy, AT(&timer), 0);
}

void call_support(void) {
    use_memory_and_text();
    use_errors_and_mutexes();
    use_clocks_and_names();
    use_locks();
    use_threads_and_timers();
}
