/* Calls by name, judged one by one. */
#ifndef TRVIL_TESTS_CALLS_H
#define TRVIL_TESTS_CALLS_H

#include <stddef.h>

#include "tests/calls/clean_call.h"

/* Says what is wrong, and lets the program fail. */
void complain(const char* name, const char* what, unsigned long long value);

void note_name(const char* name);
uint64_t call(const char* name, AnyFunction function, const uint64_t* arguments);

/* What was read to make these bytes was defined, or they are not: the memory sanitizer and valgrind
   complain then. */
void use(const void* memory, size_t size);

/* A call by its name, its arguments as words; and one whose status must be the stated one. */
#define CALL(function, ...) \
    call(#function, (AnyFunction)(function), (const uint64_t[10]){__VA_ARGS__})
#define GIVES(status, function, ...)                                                  \
    do {                                                                              \
        const uint32_t got = (uint32_t)CALL(function, __VA_ARGS__);                   \
        if (got != (uint32_t)(status)) complain(#function, "unexpected result", got); \
    } while (0)
#define AT(object) ((uintptr_t)(object))

/* The calls, by rooms. */
void call_pictures(void);
void call_support(void);
void call_raw(void);

#endif
