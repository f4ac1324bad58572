/* Support library of trvil: memory, bounded text, error information, named mutexes.

   Arguments stand in one order: destination (or the address of the caller's pointer), then size or
   limit, then source. Texts are NUL-terminated; sizes and limits count bytes. Results are statuses
   of trvil/status.h unless a routine says otherwise.

   Errors: routines that take "psErrInfo" report into it what failed, under their own name, and
   return the status they report. The argument is optional: null silences reports and changes
   nothing else.

   Threads: memory and text routines keep no state and may run anywhere. Error information and
   mutexes may be shared by threads. Signals: nothing here may be called from a signal handler but
   OBL_strncat, OBL_strncmp, OBL_strncpy, OBL_strnlen, OBL_strnstr and OBL_StringToToken. */
#ifndef TRVIL_OBL_H
#define TRVIL_OBL_H

#include <pthread.h>
#include <stdarg.h>

#include "trvil/status.h"

/* Checks a format text against its arguments, as for printf. */
#define OBL_PRINTF_FORMAT(text, first) __attribute__((__format__(__printf__, text, first)))

TRV_EXTERN_C_BEGIN

/* ---- Memory ---- */

/* Allocates "size" bytes with malloc and stores their address in "*ppBlock", which is not looked at
   before. The caller owns the block; OBL_MemoryDeAlloc gives it back.

     TRV_STATUS_OK         "*ppBlock" is the block, its bytes undefined (OBL_StructAlloc: zero)
     TRV_STATUS_PARAMETER  "ppBlock" is null or "size" is 0; "*ppBlock", if there is one, is null
     TRV_STATUS_MEMORY     no memory; "*ppBlock" is null */
TRV_API uint32_t OBL_MemoryAlloc(void** ppBlock, uint64_t size);

/* Frees the block and sets "*ppBlock" to null. A null block is fine and nothing is done.

     TRV_STATUS_OK         "*ppBlock" is null
     TRV_STATUS_PARAMETER  "ppBlock" is null */
TRV_API uint32_t OBL_MemoryDeAlloc(void** ppBlock);

/* The same pair for records: every byte of a new record is zero. */
TRV_API uint32_t OBL_StructAlloc(void** ppBlock, uint64_t size);
TRV_API uint32_t OBL_StructDeAlloc(void** ppBlock);

/* ---- Bounded text ---- */

/* Turns letters of "text" into lower case in place, as the locale has it, and returns the number of
   bytes before the terminator. "text" must not be null. */
TRV_API uint32_t OBL_str2lower(char* text);

/* Appends at most "limit" characters of "source" and a terminator to "destination". The limit
   bounds what is taken, not what "destination" holds: room for both is the caller's duty. Returns
   0. */
TRV_API uint32_t OBL_strncat(char* destination, uint64_t limit, const char* source);

/* Compares at most "limit" characters: negative, 0 or positive as "first" is less than, equal to or
   greater than "second". Note: a null text equals every text. */
TRV_API int32_t OBL_strncmp(const char* first, uint64_t limit, const char* second);

/* Copies as much of "source" as fits "size" bytes of "destination" and always terminates it.

     0                "destination" holds the text, cut to "size" - 1 characters
     TRV_STATUS_TEXT  "source" is null; nothing is written

   Notes: "destination" must not be null. "source" is read up to its terminator, whatever "size" is.
   A "size" of 0 is no limit at all: the whole source is copied. */
TRV_API uint32_t OBL_strncpy(char* destination, uint64_t size, const char* source);

/* Stores in "*ppOut" a copy of the first "limit" characters of "source", or of all if it has fewer.
   The caller owns the copy and frees it with OBL_StructDeAlloc.

     TRV_STATUS_OK         "*ppOut" is the copy, or still null when "source" is empty
     TRV_STATUS_PARAMETER  an argument is null, or "*ppOut" is not null; "*ppOut" is left alone
     TRV_STATUS_MEMORY     no memory; "*ppOut" is null
     TRV_STATUS_SYSTEM     the copy failed; "*ppOut" is null

   Note: "source" is read up to its terminator, so it needs one after "limit" characters too. */
TRV_API uint32_t OBL_strnclone(char** ppOut, uint64_t limit, const char* source);

/* Returns the length of "text", or "limit" if no terminator stands in its first "limit" bytes. */
TRV_API uint64_t OBL_strnlen(const char* text, uint64_t limit);

/* Returns the first place in the first "limit" bytes of "text" where all of "wanted" stands, "text"
   itself if "wanted" is empty, and null if there is none. The search ends at a terminator. */
TRV_API char* OBL_strnstr(const char* text, uint64_t limit, const char* wanted);

/* Cuts the next token out of a writable text and returns it, terminated in place; null when there
   is none. "*ppCursor" is where to go on, "*pRemaining" how many bytes may still be looked at; both
   move with every call. Any byte of "delimiters" ends a token; a run of them counts as one.

   Notes: a token is dropped, and null returned, when the count runs out before its end is seen,
   also when that is its first byte. The count is not tested on entry, where 0 means a very large
   count. */
TRV_API char* OBL_StringToToken(char** ppCursor, uint64_t* pRemaining, const char* delimiters);

/* Print into "destination" of "size" bytes as vsnprintf and snprintf do, and return the characters
   that the whole text needs, which may be more than were stored; negative on an output error. A
   format with %n in writable memory ends the process. */
TRV_API int32_t OBL_vsnprintf(char* destination, uint64_t size, const char* format,
                              va_list arguments) OBL_PRINTF_FORMAT(3, 0);
TRV_API int32_t OBL_snprintf(char* destination, uint64_t size, const char* format, ...)
    OBL_PRINTF_FORMAT(3, 4);

/* Copies "name" into a name field of a record, cut to 127 characters, or "un-named" if "name" is
   null. A null "field" is fine and nothing is done. Returns the status of OBL_strncpy, which is 0
   here. */
TRV_API uint32_t OBL_SetDescription(char* field, const char* name);

/* ---- Records ---- */

/* Bytes of a name or description field, and of a text field of OBL_ErrInfo. */
#define OBL_NAME_BYTES 129
#define OBL_TEXT_BYTES 513

/* A mutex with a name. OBL_MutexCreate makes one; the members are the library's. */
typedef struct OBL_Mutex {
    char szName[OBL_NAME_BYTES]; /* at most 127 characters; "[%s]" of every message about it */
    char szDescription[OBL_NAME_BYTES]; /* at most 127 characters */
    uint32_t nCount;                    /* 1 while held through OBL_MutexAcquire, else 0 */
    uint32_t fDestroying;               /* 1 once destruction has begun, else 0 */
    pthread_mutex_t sOsMutex;           /* default attributes: not recursive */
} OBL_Mutex;

/* Turns a status into words, or looks at a message; the result is ignored. */
typedef uint32_t (*OBL_DecodeCallback)(uint32_t status, const char* message);

/* Receives a report: who failed, with which status, saying what. */
typedef void (*OBL_HandlerCallback)(const char* function, uint32_t status, const char* message);

/* The last error of those who were given the record. OBL_ErrInfoCreate makes one. */
typedef struct OBL_ErrInfo {
    uint32_t nErrorCode;             /* status of the last report; 0 when new */
    char szFunction[OBL_TEXT_BYTES]; /* who reported, at most 511 characters; empty when new */
    char szMessage[OBL_TEXT_BYTES]; /* what was said, at most 511 characters; "No Error" when new */
    OBL_DecodeCallback pfnDecode;   /* null or kept for the kit's other libraries */
    OBL_HandlerCallback pfnHandler; /* null or called first with every report */
    OBL_HandlerCallback pfnLogging; /* null or called second with every report */
    OBL_Mutex* psMutex;             /* guards all of the above; named "ErrorMutex" */
} OBL_ErrInfo;

/* ---- Error information ---- */

/* Makes a record in "*ppsErrInfo", which is not looked at before. Either callback may be null. The
   caller owns the record; OBL_ErrInfoDestroy gives it back.

     TRV_STATUS_OK  the record is ready - or, Note, there was no memory and "*ppsErrInfo" is null
     any other      status of OBL_MutexCreate; "*ppsErrInfo" is set, but the record has no mutex: it
                    drops reports, and OBL_ErrInfoDestroy frees it

   Either failure is told to "pfnDecode" and then to "pfnHandler", when there is a handler, under
   the name "OBL_ErrInfoCreate", with "Failed to allocate memory for ErrInfo structure" (status 0)
   or "Failed to create mutex for ErrInfo structure". */
TRV_API uint32_t OBL_ErrInfoCreate(OBL_ErrInfo** ppsErrInfo, OBL_DecodeCallback pfnDecode,
                                   OBL_HandlerCallback pfnHandler);

/* Frees the record and sets "*ppsErrInfo" to null, whatever it returns: the status of
   OBL_MutexDestroy for the record's mutex. "ppsErrInfo" and the record must be there, and no thread
   may use the record. */
TRV_API uint32_t OBL_ErrInfoDestroy(OBL_ErrInfo** ppsErrInfo);

/* Reports: stores "status", the name "function" (null keeps the former one) and the formatted
   message, each over what was there, then calls the handler and after it the logging handler, if
   there are such, on this thread and without the lock.

   The report is dropped without a trace when the record is null or its mutex cannot be had within
   100 milliseconds; a thread that holds that mutex itself waits as long and in vain.

   Notes: a handler may report into the same record. It is given the members themselves, not copies,
   so the texts may already be those of another thread's later report. */
TRV_API void OBL_SetErrInfo(OBL_ErrInfo* psErrInfo, const char* function, uint32_t status,
                            const char* format, ...) OBL_PRINTF_FORMAT(4, 5);

/* These read or change a record under its mutex, which they wait for up to 100 milliseconds.

     TRV_STATUS_OK         done
     TRV_STATUS_PARAMETER  the record or a required address is null, or the record has no mutex
     TRV_STATUS_TIMEOUT    the mutex was held all the time
     TRV_STATUS_BUSY       the mutex is being destroyed

   Except after TRV_STATUS_OK nothing is read or changed. None of them reports. */

/* Stores the last message and status; either address may be null. The message is the record's own
   text, valid as long as the record and overwritten by the next report. */
TRV_API uint32_t OBL_GetErrInfo(OBL_ErrInfo* psErrInfo, const char** pszMessage,
                                uint32_t* pnErrorCode);

/* Get stores the callback in the caller's variable; Set takes the new one from it (null: no
   callback). A null address is refused; for OBL_ErrInfoSetHandler it stands for no callback. */
TRV_API uint32_t OBL_ErrInfoGetDecode(OBL_ErrInfo* psErrInfo, OBL_DecodeCallback* ppfnDecode);
TRV_API uint32_t OBL_ErrInfoSetDecode(OBL_ErrInfo* psErrInfo, const OBL_DecodeCallback* ppfnDecode);
TRV_API uint32_t OBL_ErrInfoGetHandler(OBL_ErrInfo* psErrInfo, OBL_HandlerCallback* ppfnHandler);
TRV_API uint32_t OBL_ErrInfoSetHandler(OBL_ErrInfo* psErrInfo,
                                       const OBL_HandlerCallback* ppfnHandler);

/* Note: takes the callback itself, not the address of a variable; null clears it. */
TRV_API uint32_t OBL_ErrInfoSetLoggingHandler(OBL_ErrInfo* psErrInfo,
                                              OBL_HandlerCallback pfnLogging);

/* ---- Named mutex ---- */

/* Makes a free mutex in "*ppsMutex", which must be null. "name" and "description" are cut to 127
   characters; null stands for "un-named". The caller owns the record; OBL_MutexDestroy gives it
   back.

     TRV_STATUS_OK         "*ppsMutex" is the mutex
     TRV_STATUS_PARAMETER  "ppsMutex is NULL" or "*ppsMutex is NOT NULL"; nothing is changed
     TRV_STATUS_MEMORY     "Failed to Allocate Memory for Mutex [%s]" with "name"; no mutex is made
     TRV_STATUS_SYSTEM     as OBL_DRV_MutexCreate reports; no mutex is made */
TRV_API uint32_t OBL_MutexCreate(OBL_Mutex** ppsMutex, const char* name, const char* description,
                                 OBL_ErrInfo* psErrInfo);

/* Acquires the mutex, waiting up to "timeout" milliseconds: UINT32_MAX waits without limit, 0 tries
   once, any other value tries once a millisecond by the wall clock.

     TRV_STATUS_OK         this thread holds the mutex
     TRV_STATUS_PARAMETER  "psMutex is NULL"; or "psMutex Count is NOT 0 [%s]": the system gave the
                           mutex although it counts as held, and, Note, it stays locked
     TRV_STATUS_BUSY       the mutex is being destroyed; not reported
     TRV_STATUS_TIMEOUT    the time is up; not reported
     TRV_STATUS_SYSTEM     as OBL_DRV_MutexAcquire reports, with "timeout" 0 also when another
                           thread holds the mutex

   A thread that acquires a mutex it holds waits for itself. */
TRV_API uint32_t OBL_MutexAcquire(OBL_Mutex* psMutex, uint32_t timeout, OBL_ErrInfo* psErrInfo);

/* Releases a mutex that this thread holds.

     TRV_STATUS_OK         the mutex is free
     TRV_STATUS_PARAMETER  "psMutex is NULL"; or "psMutex Count is NOT 1 [%s]": it is not held, and
                           nothing is done
     TRV_STATUS_SYSTEM     as OBL_DRV_MutexRelease reports; the mutex no longer counts as held */
TRV_API uint32_t OBL_MutexRelease(OBL_Mutex* psMutex, OBL_ErrInfo* psErrInfo);

/* Destroys a free mutex and sets "*ppsMutex" to null. Never waits for a holder. No other thread may
   be about to use the mutex; from here on OBL_MutexAcquire refuses it, as best it can.

     TRV_STATUS_OK         "*ppsMutex" is null
     TRV_STATUS_PARAMETER  "ppsMutex is NULL" or "*ppsMutex is NULL";
                           "Failed to Acquire Mutex [%s]": the mutex is left as it was;
                           "Failed to Release Mutex [%s]" or "MutexCount is NOT 0 [%s]": the
                           mutex is left for good, neither usable nor freed
     TRV_STATUS_SYSTEM     as OBL_DRV_MutexDestroy reports; "*ppsMutex" is null all the same

   A step that fails underneath reports first, and this routine's report replaces that one. */
TRV_API uint32_t OBL_MutexDestroy(OBL_Mutex** ppsMutex, OBL_ErrInfo* psErrInfo);

TRV_EXTERN_C_END

#endif
