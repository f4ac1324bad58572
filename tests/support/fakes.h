// System calls of the test program. They are the real ones, which the linker's --wrap leads through
// here to be counted, until a test makes single calls fail or replaces the clock.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>

#include "trvil/obl_drv.h"

struct Call {
    int count = 0;                 // since the test began
    std::set<int> fail = {};       // which calls fail, the first being 1
    int error = EINVAL;            // what these return or leave in errno
    std::function<void()> before;  // runs first, after counting

    bool Fails();
    void FailNext() { fail = {count + 1}; }
};

struct Calls {
    Call malloc, gettimeofday, clock_gettime, nanosleep, sigaction, timer_settime;
    Call pthread_mutex_init, pthread_mutex_trylock, pthread_mutex_unlock, pthread_mutex_destroy;
    Call pthread_create, pthread_join, pthread_getschedparam, sem_trywait, sem_post, sem_destroy;
    bool clock_stands = false;  // time passes only by sleeping
    uint64_t now_us = 0;
    timespec monotonic = {};  // where that clock stands
    timespec slept = {};      // what the last sleep was asked for
};
extern Calls calls;  // NOLINT(bugprone-dynamic-static-initializers): no definition

// Allocations of the whole process, the C library included, where no sanitizer owns malloc.
extern int all_mallocs;  // NOLINT(bugprone-dynamic-static-initializers): no definition
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool sanitized = true;
#else
constexpr bool sanitized = false;
#endif

// "info" reports into a log: a line each of function, status and message.
struct Support : testing::Test {
    Support();
    ~Support() override;
    OBL_ErrInfo* info = nullptr;
};
void Hear(const char* function, uint32_t status, const char* message);
std::string Said();  // since the last call
std::string Line(const std::string& call, uint32_t status, const char* message);

// The call returns "status" and reports just that under its own name with this message (null:
// nothing).
#define SAYS(call, status, message)                      \
    do {                                                 \
        EXPECT_EQ(call, uint32_t{status});               \
        EXPECT_EQ(Said(), Line(#call, status, message)); \
    } while (false)
#define QUIET(call, status) SAYS(call, status, nullptr)

template <class Record>
Record Named(const char* name) {
    Record record = {};
    OBL_SetDescription(record.szName, name);
    return record;
}
