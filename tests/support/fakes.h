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
    std::set<int> fail;            // which calls fail, the first being 1
    int error = EINVAL;            // what these return or leave in errno
    std::function<void()> before;  // runs first, after counting

    bool Fails();
};

struct Calls {
    Call malloc, gettimeofday, clock_gettime, nanosleep, sigaction, timer_settime;
    Call pthread_mutex_init, pthread_mutex_trylock, pthread_mutex_unlock, pthread_mutex_destroy;
    Call pthread_create, pthread_join, pthread_getschedparam;
    Call sem_trywait, sem_post, sem_destroy;

    bool clock_stands = false;  // time passes only by sleeping
    uint64_t now_us = 0;
    timespec last_sleep = {};
    const pthread_attr_t* last_attributes = nullptr;
};

extern Calls calls;

// Allocations of the whole process, the C library included; 0 where a sanitizer owns malloc.
extern int all_mallocs;

// Has a record whose reports go to a log, one line each: function, status in decimal, message.
class SupportTest : public testing::Test {
  protected:
    SupportTest();
    ~SupportTest() override;

    // What was reported since the last call.
    static std::string Said();
    static void Hear(const char* function, uint32_t status, const char* message);

    OBL_ErrInfo* info = nullptr;
};

// Runs "body" on another thread and waits for it.
void OnAnotherThread(const std::function<void()>& body);

template <class Record>
Record Named(const char* name) {
    Record record = {};
    OBL_SetDescription(record.szName, name);
    return record;
}
