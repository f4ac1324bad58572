#define _GNU_SOURCE
#include "tests/faults/interpose.h"

#include <dlfcn.h>
#include <errno.h>
#include <pthread.h>
#include <semaphore.h>
#include <signal.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#define SHOWN __attribute__((visibility("default")))

static __thread struct {
    int groups, left, seen;
    const char* calls[64];
    struct Fault result;
} plan;

void FaultArm(int k, int groups) {
    memset(&plan, 0, sizeof plan);
    plan.left = k;
    plan.groups = groups;
}

struct Fault FaultDisarm(void) {
    plan.groups = 0;
    for (int i = 0; plan.result.call != NULL && i < plan.seen; ++i)
        plan.result.number += strcmp(plan.calls[i], plan.result.call) == 0;
    return plan.result;
}

static int fails(int group, const char* call) {
    if ((plan.groups & group) == 0 || plan.result.call != NULL) return 0;
    if (plan.seen < 64) plan.calls[plan.seen++] = call;
    if (plan.left == 0 || --plan.left != 0) return 0;
    plan.result.call = call;
    return 1;
}

// Memory: the C library's own entries, since dlsym may allocate.
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* block);

static void* counted(void* block) {
    if (plan.groups != 0 && block != NULL) ++plan.result.blocks;
    return block;
}

static void* no_memory(void) {
    errno = ENOMEM;
    return NULL;
}

SHOWN void* malloc(size_t size) {
    return fails(FAULT_MEMORY, "malloc") ? no_memory() : counted(__libc_malloc(size));
}

SHOWN void* calloc(size_t count, size_t size) {
    return fails(FAULT_MEMORY, "calloc") ? no_memory() : counted(__libc_calloc(count, size));
}

SHOWN void* aligned_alloc(size_t alignment, size_t size) {
    return fails(FAULT_MEMORY, "aligned_alloc") ? no_memory()
                                                : counted(__libc_memalign(alignment, size));
}

SHOWN void free(void* block) {
    if (plan.groups != 0 && block != NULL) --plan.result.blocks;
    __libc_free(block);
}

#define REAL(name, parameters, type) \
    static type(*real) parameters;   \
    if (real == NULL) *(void**)&real = dlsym(RTLD_NEXT, #name)

#define WATCH(group, type, name, parameters, arguments, failure) \
    SHOWN type name parameters {                                 \
        REAL(name, parameters, type);                            \
        if (fails(group, #name)) return failure;                 \
        return real arguments;                                   \
    }

#define FILE_CALL(type, name, parameters, arguments, failure) \
    WATCH(FAULT_FILES, type, name, parameters, arguments, (errno = ENOSPC, failure))
#define BY_RESULT(name, parameters, arguments, error) \
    WATCH(FAULT_SYSTEM, int, name, parameters, arguments, error)
#define BY_ERRNO(name, parameters, arguments, error) \
    WATCH(FAULT_SYSTEM, int, name, parameters, arguments, (errno = error, -1))

/* A failed write leaves its mark in the stream, as in the C library: _IO_ERR_SEEN. */
FILE_CALL(FILE*, fopen, (const char* path, const char* mode), (path, mode), NULL)
FILE_CALL(size_t, fwrite, (const void* from, size_t size, size_t count, FILE* file),
          (from, size, count, file), (file->_flags |= 0x20, real(from, size, count / 2, file)))
FILE_CALL(ssize_t, write, (int file, const void* from, size_t size), (file, from, size), -1)
FILE_CALL(int, fputc, (int character, FILE* file), (character, file), EOF)
FILE_CALL(int, __overflow, (FILE * file, int character), (file, character),
          (file->_flags |= 0x20, EOF))
FILE_CALL(int, fseek, (FILE * file, long offset, int from), (file, offset, from), -1)
FILE_CALL(long, ftell, (FILE * file), (file), -1)
FILE_CALL(int, fclose, (FILE * file), (file), (real(file), EOF))

BY_RESULT(pthread_mutex_init, (pthread_mutex_t * m, const pthread_mutexattr_t* a), (m, a), ENOMEM)
BY_RESULT(pthread_mutex_lock, (pthread_mutex_t * m), (m), EINVAL)
BY_RESULT(pthread_mutex_trylock, (pthread_mutex_t * m), (m), EINVAL)
BY_RESULT(pthread_mutex_unlock, (pthread_mutex_t * m), (m), EPERM)
BY_RESULT(pthread_mutex_destroy, (pthread_mutex_t * m), (m), EBUSY)
BY_RESULT(pthread_create,
          (pthread_t * id, const pthread_attr_t* how, void* (*run)(void*), void* with),
          (id, how, run, with), EAGAIN)
BY_RESULT(pthread_join, (pthread_t id, void** result), (id, result), EDEADLK)
BY_RESULT(pthread_getschedparam, (pthread_t id, int* policy, struct sched_param* out),
          (id, policy, out), ESRCH)
BY_ERRNO(sem_init, (sem_t * s, int shared, unsigned count), (s, shared, count), ENOSPC)
BY_ERRNO(sem_wait, (sem_t * s), (s), EINTR)
BY_ERRNO(sem_trywait, (sem_t * s), (s), EINTR)
BY_ERRNO(sem_post, (sem_t * s), (s), EOVERFLOW)
BY_ERRNO(sem_destroy, (sem_t * s), (s), EINVAL)
BY_ERRNO(sigaction, (int n, const struct sigaction* to, struct sigaction* was), (n, to, was),
         EINVAL)
BY_ERRNO(timer_create, (clockid_t c, struct sigevent* e, timer_t* id), (c, e, id), EAGAIN)
BY_ERRNO(timer_settime,
         (timer_t id, int flags, const struct itimerspec* to, struct itimerspec* was),
         (id, flags, to, was), EINVAL)
BY_ERRNO(timer_delete, (timer_t id), (id), EINVAL)
BY_ERRNO(clock_gettime, (clockid_t c, struct timespec* out), (c, out), EINVAL)
BY_ERRNO(gettimeofday, (struct timeval* restrict now, void* restrict zone), (now, zone), EFAULT)
BY_ERRNO(nanosleep, (const struct timespec* time, struct timespec* rest), (time, rest), EINTR)
