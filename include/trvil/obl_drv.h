/* Operating-system layer of trvil: clocks, locks, semaphores, threads and one-shot timers.

   Records belong to the caller, who fills in the name (and the members that say so) before creation
   and keeps the record in place until destruction. The name is "[%s]" of every message about the
   record. Results are statuses of trvil/status.h; failures are reported to the optional "psErrInfo"
   (null: not at all) under the routine's own name, with the messages quoted at each routine.

   Timeouts are milliseconds: -1 waits without limit, 0 tries once, any other value tries once a
   millisecond until the deadline. Note: the deadline is the wall clock's and 32 bits wide. A
   stepped clock moves it, one that wraps (every 49.7 days) is taken as past after the first try,
   and nothing is tried once it is past.

   Threads: any routine may run on any thread. Signals: only OBL_DRV_SemaphoreSignal with a null
   "psErrInfo", the clocks and the identifiers may be called from a signal handler. */
#ifndef TRVIL_OBL_DRV_H
#define TRVIL_OBL_DRV_H

/* Strict C hides what POSIX adds to the headers below. */
#if defined(__STRICT_ANSI__) && !defined(_POSIX_C_SOURCE) && !defined(_XOPEN_SOURCE) && \
    !defined(_DEFAULT_SOURCE) && !defined(_GNU_SOURCE)
#define _POSIX_C_SOURCE 200809L
#endif

#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <signal.h>
#include <time.h>

#ifndef TIMER_ABSTIME
#error "trvil/obl_drv.h: define _POSIX_C_SOURCE as 200809L before the first #include"
#endif

#include "trvil/obl.h"

TRV_EXTERN_C_BEGIN

/* ---- Time, identity, system error text ---- */

/* Stores the wall clock in milliseconds, wrapped to 32 bits. Always TRV_STATUS_OK. */
TRV_API uint32_t OBL_DRV_GetTimeNowMs(uint32_t* pnMs);

/* Stores the monotonic clock in nanoseconds. "pnNs" must not be null: a null address faults.

     TRV_STATUS_OK      "*pnNs" is the time
     TRV_STATUS_SYSTEM  the clock cannot be read; "*pnNs" is 0 */
TRV_API uint32_t OBL_DRV_GetTimeNowNs(uint64_t* pnNs);

/* Bytes of the caller's buffer for OBL_DRV_GetLastError. */
#define OBL_DRV_ERROR_TEXT_BYTES 512

/* Writes the text of this thread's errno into "text", OBL_DRV_ERROR_TEXT_BYTES long, and returns
   errno. */
TRV_API int32_t OBL_DRV_GetLastError(char* text);

/* Store the identifier of the calling thread (its pthread_t) or process. Always TRV_STATUS_OK. */
TRV_API uint32_t OBL_DRV_GetCurrentThreadId(uint64_t* pnThreadId);
TRV_API uint32_t OBL_DRV_GetCurrentProcessId(uint32_t* pnProcessId);

/* Stores the calling thread's scheduling priority: 0 under the default policy.

     TRV_STATUS_OK    "*pnPriority" is the priority
     TRV_STATUS_BUSY  it cannot be had; "*pnPriority" is left alone */
TRV_API uint32_t OBL_DRV_GetCurrentThreadPriority(int32_t* pnPriority);

/* Begins any record that OBL_DRV_IsEventThread takes. It is this long so that it travels in memory,
   as every longer record does. */
typedef struct OBL_DRV_EventThread {
    uint64_t nThreadId; /* identifier of the event thread */
    uint64_t anRest[2]; /* not read */
} OBL_DRV_EventThread;

/* Stores 1 if the calling thread is the one that "sEventThread" names, else 0.
   Always TRV_STATUS_OK. */
TRV_API uint32_t OBL_DRV_IsEventThread(uint32_t* pfIsEventThread, OBL_DRV_EventThread sEventThread);

/* ---- Mutex ---- */

/* The operating-system part of OBL_Mutex: these use "szName" and "sOsMutex" and leave the rest
   alone. All four refuse a null record with TRV_STATUS_PARAMETER and "psMutex is NULL". */

/* Makes the mutex free, with default attributes.

     TRV_STATUS_OK      the mutex is free
     TRV_STATUS_SYSTEM  "Failed to Create Mutex [%s]"; OBL_DRV_MutexDestroy is called on the record
                        then and may report after it */
TRV_API uint32_t OBL_DRV_MutexCreate(OBL_Mutex* psMutex, OBL_ErrInfo* psErrInfo);

/* Acquires the mutex. It is not recursive: a thread that holds it already waits for itself.

     TRV_STATUS_OK       this thread holds the mutex
     TRV_STATUS_SYSTEM   timeout -1: "Failed to Acquire Mutex [%s] with Infinite TimeOut";
                         timeout 0: "Failed to Acquire Mutex [%s] with TimeOut %d", also, Note, when
                         the mutex is merely held by another
     TRV_STATUS_TIMEOUT  any other timeout: the time is up; not reported */
TRV_API uint32_t OBL_DRV_MutexAcquire(OBL_Mutex* psMutex, int32_t timeout, OBL_ErrInfo* psErrInfo);

/* Releases the mutex.

     TRV_STATUS_OK      the mutex is free
     TRV_STATUS_SYSTEM  "Failed to Release Mutex [%s]" */
TRV_API uint32_t OBL_DRV_MutexRelease(OBL_Mutex* psMutex, OBL_ErrInfo* psErrInfo);

/* Destroys the mutex, which must be free; the record itself stays the caller's.

     TRV_STATUS_OK      the mutex is gone
     TRV_STATUS_SYSTEM  "Failed to Destroy Mutex [%s]" */
TRV_API uint32_t OBL_DRV_MutexDestroy(OBL_Mutex* psMutex, OBL_ErrInfo* psErrInfo);

/* ---- Spin lock ---- */

/* A lock without timeouts. Note: it does not spin; it is an ordinary mutex, so that a waiting
   thread leaves the processor to the holder. */
typedef struct OBL_DRV_SpinLock {
    char szName[OBL_NAME_BYTES]; /* set by the caller */
    pthread_mutex_t sOsMutex;    /* set by creation */
} OBL_DRV_SpinLock;

/* Create, acquire (waiting without limit), release, destroy.

     TRV_STATUS_OK         done; after destruction every byte of "sOsMutex" is zero
     TRV_STATUS_PARAMETER  "psSpinLock is NULL"
     TRV_STATUS_SYSTEM     "Failed to Create SpinLock [%s]" (OBL_DRV_SpinLockDestroy is called then
                           and may report after it), "Failed to Acquire SpinLock [%s]",
                           "Failed to Release SpinLock [%s]", "Failed to Destroy SpinLock [%s]" */
TRV_API uint32_t OBL_DRV_SpinLockCreate(OBL_DRV_SpinLock* psSpinLock, OBL_ErrInfo* psErrInfo);
TRV_API uint32_t OBL_DRV_SpinLockAcquire(OBL_DRV_SpinLock* psSpinLock, OBL_ErrInfo* psErrInfo);
TRV_API uint32_t OBL_DRV_SpinLockRelease(OBL_DRV_SpinLock* psSpinLock, OBL_ErrInfo* psErrInfo);
TRV_API uint32_t OBL_DRV_SpinLockDestroy(OBL_DRV_SpinLock* psSpinLock, OBL_ErrInfo* psErrInfo);

/* ---- Semaphore ---- */

/* A counting semaphore of this process. */
typedef struct OBL_DRV_Semaphore {
    char szName[OBL_NAME_BYTES]; /* set by the caller */
    sem_t sSemaphore;            /* set by creation */
    uint32_t nInitialCount;      /* set by the caller before creation */
} OBL_DRV_Semaphore;

/* Note: all four refuse a null record with TRV_STATUS_PARAMETER and, unlike the locks, without a
   report. */

/* Makes the semaphore with a count of "nInitialCount".

     TRV_STATUS_OK      the semaphore is ready
     TRV_STATUS_SYSTEM  "Failed to Create Semaphore [%s]"; OBL_DRV_SemaphoreDestroy is called on the
                        record then and may report after it */
TRV_API uint32_t OBL_DRV_SemaphoreCreate(OBL_DRV_Semaphore* psSemaphore, OBL_ErrInfo* psErrInfo);

/* Adds "count" to the semaphore, one by one; 0 does nothing.

     TRV_STATUS_OK      all were added
     TRV_STATUS_SYSTEM  "Failed to Signal Semaphore [%s]"; those added before the failure stay */
TRV_API uint32_t OBL_DRV_SemaphoreSignal(OBL_DRV_Semaphore* psSemaphore, uint32_t count,
                                         OBL_ErrInfo* psErrInfo);

/* Takes one from the semaphore.

     TRV_STATUS_OK       one was taken
     TRV_STATUS_TIMEOUT  there was none in time, or at once with timeout 0; not reported
     TRV_STATUS_SYSTEM   timeout -1: "Failed to Acquire Semaphore [%s] with Infinite TimeOut", also,
                         Note, when a signal interrupts the wait;
                         timeout 0: "Failed to Acquire Semaphore [%s] with Zero TimeOut [%d]", the
                         number being errno

   With any other timeout a failed try counts as none being there, whatever its cause. */
TRV_API uint32_t OBL_DRV_SemaphoreWaitWithTimeout(OBL_DRV_Semaphore* psSemaphore, int32_t timeout,
                                                  OBL_ErrInfo* psErrInfo);

/* Destroys the semaphore, on which no thread may wait.

     TRV_STATUS_OK      the semaphore is gone
     TRV_STATUS_SYSTEM  "Failed to Destroy Semaphore [%s]" */
TRV_API uint32_t OBL_DRV_SemaphoreDestroy(OBL_DRV_Semaphore* psSemaphore, OBL_ErrInfo* psErrInfo);

/* ---- Thread ---- */

/* Value of "nPriorityClass" that asks for the middle real-time priority. */
#define OBL_DRV_PRIORITY_REALTIME 2u

/* A thread. The caller sets the name and the last three members. */
typedef struct OBL_DRV_Thread {
    char szName[OBL_NAME_BYTES];       /* set by the caller */
    pthread_t hThread;                 /* set by creation */
    pthread_attr_t sAttr;              /* set by creation, never destroyed */
    struct sched_param sSchedParam;    /* set by creation if a priority is asked for */
    void* (*pfnStart)(void* argument); /* what the thread runs; its result is dropped */
    void* pvArg;                       /* handed to "pfnStart" */
    uint32_t nPriorityClass; /* OBL_DRV_PRIORITY_REALTIME, or any other value for no priority */
} OBL_DRV_Thread;

/* Starts a thread that runs "pfnStart"; with OBL_DRV_PRIORITY_REALTIME under first-in-first-out
   scheduling where the process may use it, ahead of all ordinary threads.

     TRV_STATUS_OK         the thread runs
     TRV_STATUS_PARAMETER  "psThread is NULL"
     TRV_STATUS_SYSTEM     "Failed to Create Thread [%s]"

   Notes: where real-time scheduling is refused the thread runs under the default policy, and
   nothing tells so. After a failure OBL_DRV_ThreadDestroy is called on the record, as if there were
   a thread. */
TRV_API uint32_t OBL_DRV_ThreadCreate(OBL_DRV_Thread* psThread, OBL_ErrInfo* psErrInfo);

/* Waits until the thread has ended, which it is not asked to do, and drops its result. Once per
   created thread.

     TRV_STATUS_OK         whatever the wait came to
     TRV_STATUS_PARAMETER  the record is null; not reported */
TRV_API uint32_t OBL_DRV_ThreadDestroy(OBL_DRV_Thread* psThread, OBL_ErrInfo* psErrInfo);

/* ---- Timer ---- */

/* A one-shot timer. The caller sets the name and the last three members; "pvContext" to the address
   of the record itself. */
typedef struct OBL_DRV_Timer {
    char szName[OBL_NAME_BYTES];                      /* set by the caller */
    int32_t nSignal;                                  /* set by start: SIGALRM */
    timer_t hTimer;                                   /* set by start */
    struct itimerspec sTimerSpec;                     /* set by start */
    struct sigevent sSigEvent;                        /* set by start */
    struct sigaction sSigAction;                      /* set by start */
    uint32_t nDelayMs;                                /* milliseconds until expiry; see below */
    void (*pfnCallback)(int32_t zero, void* context); /* may be null */
    void* pvContext; /* names the record whose callback is called */
} OBL_DRV_Timer;

/* Checks the record and does nothing else.

     TRV_STATUS_OK         the record is there
     TRV_STATUS_PARAMETER  the record is null */
TRV_API uint32_t OBL_DRV_TimerCreate(OBL_DRV_Timer* psTimer);

/* Starts the timer. When it expires, SIGALRM comes to some thread of the process, and there, inside
   the signal handler, the callback of the record that "pvContext" names is called with 0 and that
   record's "pvContext". The callback may do only what is allowed in a signal handler. May be called
   again; stop the timer before, expired or not, or the system keeps it and nobody can delete it.

     TRV_STATUS_OK         the timer runs
     TRV_STATUS_PARAMETER  "psTimer is NULL"
     TRV_STATUS_SYSTEM     "Failed to Setup Signal Handler [%s]", "Failed to Start Timer [%s]", or
                           "Failed to Set Timer [%s]", where OBL_DRV_TimerStop must still be called

   Notes: only whole seconds of "nDelayMs" count as such; the rest is taken as nanoseconds, so 2500
   expires after 2 seconds and 999 almost at once. 0 never expires. Every start takes SIGALRM for
   the whole process, interrupting system calls of the thread it comes to, and leaves it taken. */
TRV_API uint32_t OBL_DRV_TimerStart(OBL_DRV_Timer* psTimer, OBL_ErrInfo* psErrInfo);

/* Deletes the running or expired timer.

     TRV_STATUS_OK         the timer will not expire; a signal that is on its way may still come
     TRV_STATUS_PARAMETER  "psTimer is NULL"
     TRV_STATUS_SYSTEM     "Failed to Stop Timer [%s]" */
TRV_API uint32_t OBL_DRV_TimerStop(OBL_DRV_Timer* psTimer, OBL_ErrInfo* psErrInfo);

/* Checks the record and does nothing else; a timer that was started is deleted by
   OBL_DRV_TimerStop.

     TRV_STATUS_OK         the record is there
     TRV_STATUS_PARAMETER  "psTimer is NULL" */
TRV_API uint32_t OBL_DRV_TimerDestroy(OBL_DRV_Timer* psTimer, OBL_ErrInfo* psErrInfo);

TRV_EXTERN_C_END

#endif
