#include "tests/support/fakes.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <sys/time.h>

#include <thread>
#include <utility>

Calls calls;
int all_mallocs = 0;

namespace {
std::string heard;
}

bool Call::Fails() {
    const int number = __atomic_add_fetch(&count, 1, __ATOMIC_RELAXED);
    if (before) before();
    return fail.count(number) != 0;
}

// These tests misuse mutexes on purpose.
extern "C" const char* __tsan_default_options() {
    return "report_mutex_bugs=0";
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
extern "C" void* __libc_malloc(size_t size);
extern "C" void* malloc(size_t size) {
    __atomic_add_fetch(&all_mallocs, 1, __ATOMIC_RELAXED);
    return __libc_malloc(size);
}
#endif

// A call that fails by returning "failure", or by what "failure" does on the way to a value.
#define WRAP(result, name, parameters, arguments, failure) \
    extern "C" result __real_##name parameters;            \
    extern "C" result __wrap_##name parameters {           \
        Call& call = calls.name;                           \
        if (call.Fails()) return failure;                  \
        return __real_##name arguments;                    \
    }

#define BY_RESULT call.error
#define BY_ERRNO (errno = call.error, -1)

WRAP(int, clock_gettime, (clockid_t id, timespec* out), (id, out), BY_ERRNO)
WRAP(int, sigaction, (int signal, const struct sigaction* act, struct sigaction* old),
     (signal, act, old), BY_ERRNO)
WRAP(int, timer_settime, (timer_t timer, int flags, const itimerspec* spec, itimerspec* old),
     (timer, flags, spec, old), BY_ERRNO)
WRAP(int, pthread_mutex_init, (pthread_mutex_t * mutex, const pthread_mutexattr_t* attributes),
     (mutex, attributes), BY_RESULT)
WRAP(int, pthread_mutex_trylock, (pthread_mutex_t * mutex), (mutex), BY_RESULT)
WRAP(int, pthread_mutex_unlock, (pthread_mutex_t * mutex), (mutex), BY_RESULT)
WRAP(int, pthread_mutex_destroy, (pthread_mutex_t * mutex), (mutex), BY_RESULT)
WRAP(int, pthread_getschedparam, (pthread_t thread, int* policy, sched_param* param),
     (thread, policy, param), BY_RESULT)
WRAP(int, sem_trywait, (sem_t * semaphore), (semaphore), BY_ERRNO)
WRAP(int, sem_post, (sem_t * semaphore), (semaphore), BY_ERRNO)
WRAP(int, sem_destroy, (sem_t * semaphore), (semaphore), BY_ERRNO)
WRAP(int, pthread_join, (pthread_t thread, void** result), (thread, result), BY_RESULT)

extern "C" int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
extern "C" int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                                     void* (*start)(void*), void* argument) {
    calls.last_attributes = attributes;
    if (calls.pthread_create.Fails()) return calls.pthread_create.error;
    return __real_pthread_create(thread, attributes, start, argument);
}

// Fresh memory is never zero by chance.
extern "C" void* __real_malloc(size_t size);
extern "C" void* __wrap_malloc(size_t size) {
    if (calls.malloc.Fails()) return nullptr;
    return memset(__real_malloc(size), 0xA5, size);
}

extern "C" int __real_gettimeofday(timeval* now, void* zone);
extern "C" int __wrap_gettimeofday(timeval* now, void* zone) {
    calls.gettimeofday.Fails();
    if (!calls.clock_stands) return __real_gettimeofday(now, zone);
    *now = {static_cast<time_t>(calls.now_us / 1000000),
            static_cast<suseconds_t>(calls.now_us % 1000000)};
    return 0;
}

extern "C" int __real_nanosleep(const timespec* time, timespec* rest);
extern "C" int __wrap_nanosleep(const timespec* time, timespec* rest) {
    calls.last_sleep = *time;
    if (calls.nanosleep.Fails()) return (errno = calls.nanosleep.error, -1);
    if (!calls.clock_stands) return __real_nanosleep(time, rest);
    calls.now_us += static_cast<uint64_t>(time->tv_sec * 1000000 + time->tv_nsec / 1000);
    return 0;
}

SupportTest::SupportTest() {
    calls = {};
    OBL_ErrInfoCreate(&info, nullptr, &Hear);
    calls = {};
    heard.clear();
}

SupportTest::~SupportTest() {
    calls = {};
    if (info != nullptr) OBL_ErrInfoDestroy(&info);
}

std::string SupportTest::Said() {
    return std::exchange(heard, {});
}

void SupportTest::Hear(const char* function, uint32_t status, const char* message) {
    heard += std::string(function) + " " + std::to_string(status) + " " + message + "\n";
}

void OnAnotherThread(const std::function<void()>& body) {
    std::thread(body).join();
}
