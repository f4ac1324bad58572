#include "tests/support/fakes.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <sys/time.h>

#include <utility>

Calls calls;
int all_mallocs = 0;
static std::string heard;

bool Call::Fails() {
    const int number = __atomic_add_fetch(&count, 1, __ATOMIC_RELAXED);
    if (before) before();
    return fail.count(number) != 0;
}

extern "C" {

// These tests misuse mutexes on purpose.
TRV_API const char* __tsan_default_options() {
    return "report_mutex_bugs=0:report_destroy_locked=0";
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
void* __libc_malloc(size_t size);
TRV_API void* malloc(size_t size) {
    __atomic_add_fetch(&all_mallocs, 1, __ATOMIC_RELAXED);
    return __libc_malloc(size);
}
#endif

#define BY_RESULT call.error
#define BY_ERRNO (errno = call.error, -1)
#define WRAP(name, parameters, arguments, failure)               \
    int __real_##name parameters;                                \
    int __wrap_##name parameters {                               \
        Call& call = calls.name;                                 \
        return call.Fails() ? failure : __real_##name arguments; \
    }

WRAP(sigaction, (int n, const struct sigaction* to, struct sigaction* was), (n, to, was), BY_ERRNO)
WRAP(timer_settime, (timer_t id, int flags, const itimerspec* to, itimerspec* was),
     (id, flags, to, was), BY_ERRNO)
WRAP(pthread_mutex_init, (pthread_mutex_t * mutex, const pthread_mutexattr_t* attributes),
     (mutex, attributes), BY_RESULT)
WRAP(pthread_mutex_trylock, (pthread_mutex_t * mutex), (mutex), BY_RESULT)
WRAP(pthread_mutex_unlock, (pthread_mutex_t * mutex), (mutex), BY_RESULT)
WRAP(pthread_mutex_destroy, (pthread_mutex_t * mutex), (mutex), BY_RESULT)
WRAP(pthread_getschedparam, (pthread_t id, int* policy, sched_param* out), (id, policy, out),
     BY_RESULT)
WRAP(pthread_create, (pthread_t * id, const pthread_attr_t* how, void* (*run)(void*), void* with),
     (id, how, run, with), BY_RESULT)
WRAP(pthread_join, (pthread_t id, void** result), (id, result), BY_RESULT)
WRAP(sem_trywait, (sem_t * semaphore), (semaphore), BY_ERRNO)
WRAP(sem_post, (sem_t * semaphore), (semaphore), BY_ERRNO)
WRAP(sem_destroy, (sem_t * semaphore), (semaphore), BY_ERRNO)

// Fresh memory is never zero by chance.
void* __real_malloc(size_t size);
void* __wrap_malloc(size_t size) {
    return calls.malloc.Fails() ? nullptr : memset(__real_malloc(size), 0xA5, size);
}

int __real_gettimeofday(timeval* now, void* zone);
int __wrap_gettimeofday(timeval* now, void* zone) {
    if (!calls.clock_stands) return __real_gettimeofday(now, zone);
    *now = {static_cast<time_t>(calls.now_us / 1000000), static_cast<long>(calls.now_us % 1000000)};
    return 0;
}

int __real_clock_gettime(clockid_t id, timespec* out);
int __wrap_clock_gettime(clockid_t id, timespec* out) {
    Call& call = calls.clock_gettime;
    if (call.Fails()) return BY_ERRNO;
    if (!calls.clock_stands) return __real_clock_gettime(id, out);
    *out = id == CLOCK_MONOTONIC ? calls.monotonic : timespec{};
    return 0;
}

int __real_nanosleep(const timespec* time, timespec* rest);
int __wrap_nanosleep(const timespec* time, timespec* rest) {
    Call& call = calls.nanosleep;
    if (call.Fails()) return BY_ERRNO;
    if (!calls.clock_stands) return __real_nanosleep(time, rest);
    calls.slept = *time;
    calls.now_us += static_cast<uint64_t>(time->tv_sec * 1000000 + time->tv_nsec / 1000);
    return 0;
}
}

Support::Support() {
    OBL_ErrInfoCreate(&info, nullptr, &Hear);
    calls = {};
    heard.clear();
}

Support::~Support() {
    calls = {};
    if (info != nullptr) OBL_ErrInfoDestroy(&info);
}

void Hear(const char* function, uint32_t status, const char* message) {
    heard += Line(function, status, message);
}

std::string Said() {
    return std::exchange(heard, {});
}

std::string Line(const std::string& call, uint32_t status, const char* message) {
    if (message == nullptr) return {};
    return call.substr(0, call.find('(')) + " " + std::to_string(status) + " " + message + "\n";
}
